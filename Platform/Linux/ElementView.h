#pragma once

#include "Runner/Views/ViewRecords.h"

#include <QColor>
#include <QMargins>
#include <memory>

class QPainter;
class QWidget;

namespace quoxelin {

class AlertBox;
class PopoverWindow;

/// One element on the screen: a widget that shows a record, and can say what it shows. It outlives
/// the record, and shows the one that takes its place in the next tree.
class ElementView {
  public:
    static std::unique_ptr<ElementView> make(ViewNode::Kind kind);

    ElementView(const ElementView&) = delete;
    ElementView& operator=(const ElementView&) = delete;
    virtual ~ElementView();

    /// Shows the record, which is of this view's kind.
    void bind(const ViewNode& node);

    /// What the widget shows, as a record; without its functions.
    ViewNode readBack() const;

    /// Whether this view stands for the record at that position among its siblings.
    bool standsFor(const ViewNode& node, bool samePosition) const;

    /// Presents what belongs to this element and those within it, when their window has come up.
    virtual void present();

    virtual QWidget& widget() = 0;
    virtual const QWidget& widget() const = 0;

    /// Appends the widgets that take the keyboard's focus, in the order of reading.
    virtual void collectFocusable(std::vector<QWidget*>&) {}

  protected:
    explicit ElementView(ViewNode::Kind kind);

    virtual void bindContent(const ViewNode& node) = 0;
    virtual void readContent(ViewNode& node) const = 0;

    /// For the widget's paintEvent, before anything else.
    void paintBackground(QPainter& painter) const;

    /// Width and height that the widget takes beside its content.
    int marginsWidth() const;
    int marginsHeight() const;

  private:
    void bindFrame(const ViewNode& node);
    void bindAttachments(const ViewNode& node);
    void readFrame(ViewNode& node) const;

    const ViewNode::Kind kind;
    std::string key;
    Alignment alignment = Alignment::leading;
    QColor background = Qt::transparent;
    double cornerRadius = 0;
    std::unique_ptr<PopoverWindow> popover;
    std::unique_ptr<AlertBox> alert;
};

} // namespace quoxelin
