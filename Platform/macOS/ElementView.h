#pragma once

#include "Platform/macOS/QXBox.h"
#include "View/Element.h"

namespace quoxelin {

/// An element that is a native view. It is measured and placed by the element that contains it.
class ElementView : public Element {
  public:
    static std::unique_ptr<ElementView> make(ViewNode::Kind kind);

    ~ElementView() override;

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

  protected:
    ElementView(ViewNode::Kind kind, QXBox* box);

    void bindFrame(const ViewNode& node) override;
    void readFrame(ViewNode& node) const override;
    std::unique_ptr<Presentation<Popover>> makePopover() override;
    std::unique_ptr<Presentation<Alert>> makeAlert() override;

    virtual CGSize contentSize(CGFloat available) const = 0;
    virtual void placeContent(CGRect) {}

    Alignment alignment = Alignment::leading;

  private:
    QXBox* const box;
    std::optional<double> width;
    std::optional<double> height;
    bool fillsWidth = false;
};

} // namespace quoxelin
