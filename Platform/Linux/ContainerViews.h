#pragma once

#include "Platform/Linux/ElementView.h"

#include <QAbstractButton>
#include <QBoxLayout>
#include <QWidget>

namespace quoxelin {

/// The child views of a stack or row.
class ChildViews {
  public:
    ChildViews(QWidget& owner, QBoxLayout::Direction direction);

    void bind(const ViewNode& parent);
    void read(ViewNode& node) const;
    void windowDidShow();
    void windowDidHide();
    void collectReadable(std::vector<QWidget*>& widgets);

    std::size_t count() const { return views.size(); }

    /// The height of the first `count` children below each other.
    int heightOfFirst(std::size_t count, int width) const;

  private:
    void place(ElementView& view, Qt::Alignment across, int position);

    QWidget& owner;
    const QBoxLayout::Direction direction;
    /// Null before there were children: many stacks stay empty, and a layout costs much.
    QBoxLayout* layout = nullptr;
    Alignment alignment = Alignment::leading;
    int spacing = 0;
    std::vector<std::unique_ptr<ElementView>> views;
};

class StackView final : public QWidget, public ElementView {
  public:
    explicit StackView(ViewNode::Kind kind);

    QWidget& widget() override { return *this; }
    const QWidget& widget() const override { return *this; }
    void windowDidShow() override;
    void windowDidHide() override;
    void collectReadable(std::vector<QWidget*>& widgets) override;

  protected:
    void bindContent(const ViewNode& node) override;
    void readContent(ViewNode& node) const override;
    void paintEvent(QPaintEvent* event) override;

  private:
    ChildViews children;
};

/// A clickable row: a button for mouse, keyboard and assistive technology.
class RowView final : public QAbstractButton, public ElementView {
  public:
    RowView();
    ~RowView() override;

    QWidget& widget() override { return *this; }
    const QWidget& widget() const override { return *this; }
    void windowDidShow() override;
    void windowDidHide() override;
    void collectReadable(std::vector<QWidget*>& widgets) override;

    bool hasPopover() const { return opensPopover; }

    /// Whether its popover is open.
    bool isExpanded() const { return popoverIsOpen; }

  protected:
    void bindContent(const ViewNode& node) override;
    void readContent(ViewNode& node) const override;

    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void setExpanded(bool isExpanded);
    void setHovered(bool isHovered);

    std::function<void()> action;
    std::function<void(bool)> onHover;
    bool isHovered = false;
    bool opensPopover = false;
    bool popoverIsOpen = false;
    ChildViews children;
};

} // namespace quoxelin
