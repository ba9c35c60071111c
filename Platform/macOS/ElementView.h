#pragma once

#include "Platform/macOS/QXBox.h"
#include "View/Element.h"

namespace quoxelin {

/// An element with a native view. Its parent element measures and places it.
class ElementView : public Element {
  public:
    static std::unique_ptr<ElementView> make(ViewNode::Kind kind);

    ~ElementView() override;

    QXBox* view() const { return box; }

    /// The size that it needs if `available` is the width on offer.
    CGSize measure(CGFloat available) const;

    /// Moves the element and its content; `frame` is in its parent's coordinates.
    void place(CGRect frame);

    /// Whether it grows to fill the remaining width.
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
