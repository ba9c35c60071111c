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
    void collectFocusable(std::vector<QWidget*>& widgets);

  private:
    void place(ElementView& view, Qt::Alignment across, int position);

    QBoxLayout* layout;
    Alignment alignment = Alignment::leading;
    std::vector<std::unique_ptr<ElementView>> views;
};

class StackView final : public QWidget, public ElementView {
  public:
    explicit StackView(ViewNode::Kind kind);

    QWidget& widget() override { return *this; }
    const QWidget& widget() const override { return *this; }
    void windowDidShow() override;
    void windowDidHide() override;
    void collectFocusable(std::vector<QWidget*>& widgets) override;

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
    void collectFocusable(std::vector<QWidget*>& widgets) override;

  protected:
    void bindContent(const ViewNode& node) override;
    void readContent(ViewNode& node) const override;

    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void setHovered(bool isHovered);

    std::function<void()> action;
    std::function<void(bool)> onHover;
    bool isHovered = false;
    ChildViews children;
};

} // namespace quoxelin
