#pragma once

#include "View/Element.h"

#include <QColor>
#include <QMargins>
#include <memory>

class QPainter;
class QWidget;

namespace quoxelin {

/// An element that is a widget.
class ElementView : public Element {
  public:
    static std::unique_ptr<ElementView> make(ViewNode::Kind kind);

    virtual QWidget& widget() = 0;
    virtual const QWidget& widget() const = 0;

    /// Appends the texts and rows in reading order.
    virtual void collectReadable(std::vector<QWidget*>&) {}

  protected:
    using Element::Element;

    void bindFrame(const ViewNode& node) override;
    void readFrame(ViewNode& node) const override;
    std::unique_ptr<Presentation<Popover>> makePopover() override;
    std::unique_ptr<Presentation<Alert>> makeAlert() override;

    /// Call first in the widget's paintEvent.
    void paintBackground(QPainter& painter) const;

    /// How much the widget adds around its content.
    int marginsWidth() const;
    int marginsHeight() const;

  private:
    QColor background = Qt::transparent;
    double cornerRadius = 0;
};

} // namespace quoxelin
