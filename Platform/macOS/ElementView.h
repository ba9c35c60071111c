#pragma once

#include "Platform/macOS/QXBox.h"
#include "Runner/Views/ViewRecords.h"

#include <memory>

namespace quoxelin {

class AlertSheet;
class PopoverPresenter;

/// One element on the screen: a native view that shows a record, and can say what it shows. It
/// outlives the record, and shows the one that takes its place in the next tree.
class ElementView {
  public:
    static std::unique_ptr<ElementView> make(ViewNode::Kind kind);

    ElementView(const ElementView&) = delete;
    ElementView& operator=(const ElementView&) = delete;
    virtual ~ElementView();

    /// Shows the record, which is of this view's kind.
    void bind(const ViewNode& node);

    /// What the view shows, as a record; without its functions.
    ViewNode readBack() const;

    /// Whether this view stands for the record at that position among its siblings.
    bool standsFor(const ViewNode& node, bool samePosition) const;

    QXBox* view() const { return box; }

    /// The size that it takes where `available` is the width there is.
    CGSize measure(CGFloat available) const;

    /// Moves it to that place of its parent, with all that is in it.
    void place(CGRect frame);

    /// Whether it takes what room is left.
    virtual bool isFlexible() const { return fillsWidth; }
    /// Whether it may be made narrower than its content.
    virtual bool isShrinkable() const { return !width; }
    bool hasWidth() const { return width.has_value(); }

    /// Presents what belongs to this element and those within it, when their window has come up.
    virtual void windowDidShow();
    /// Takes it away again.
    virtual void windowDidHide();

  protected:
    ElementView(ViewNode::Kind kind, QXBox* box);

    virtual void bindContent(const ViewNode& node) = 0;
    virtual void readContent(ViewNode& node) const = 0;
    virtual CGSize contentSize(CGFloat available) const = 0;
    virtual void placeContent(CGRect) {}

    const ViewNode::Kind kind;
    Alignment alignment = Alignment::leading;

  private:
    void bindFrame(const ViewNode& node);
    void bindAttachments(const ViewNode& node);
    void readFrame(ViewNode& node) const;

    QXBox* const box;
    std::string key;
    std::optional<double> width;
    std::optional<double> height;
    bool fillsWidth = false;
    std::unique_ptr<PopoverPresenter> popover;
    std::unique_ptr<AlertSheet> alert;
};

} // namespace quoxelin
