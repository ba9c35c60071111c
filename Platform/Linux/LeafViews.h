#pragma once

#include "Platform/Linux/ElementView.h"

#include <QWidget>

namespace quoxelin {

/// A symbol as large as the text beside it.
class SymbolView final : public QWidget, public ElementView {
  public:
    SymbolView();

    QWidget& widget() override { return *this; }
    const QWidget& widget() const override { return *this; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void bindContent(const ViewNode& node) override;
    void readContent(ViewNode& node) const override;
    void paintEvent(QPaintEvent* event) override;

  private:
    int side() const;

    /// The symbol's name.
    QString name;
};

class CircleView final : public QWidget, public ElementView {
  public:
    CircleView();

    QWidget& widget() override { return *this; }
    const QWidget& widget() const override { return *this; }

  protected:
    void bindContent(const ViewNode& node) override;
    void readContent(ViewNode& node) const override;
    void paintEvent(QPaintEvent* event) override;
};

/// Takes the remaining space.
class SpacerView final : public QWidget, public ElementView {
  public:
    SpacerView() : ElementView(ViewNode::Kind::spacer) {}

    QWidget& widget() override { return *this; }
    const QWidget& widget() const override { return *this; }
    QSize sizeHint() const override { return {0, 0}; }

  protected:
    void bindContent(const ViewNode& node) override;
    void readContent(ViewNode& node) const override;
};

/// A thin horizontal line.
class DividerView final : public QWidget, public ElementView {
  public:
    DividerView() : ElementView(ViewNode::Kind::divider) {}

    QWidget& widget() override { return *this; }
    const QWidget& widget() const override { return *this; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  protected:
    void bindContent(const ViewNode&) override {}
    void readContent(ViewNode&) const override {}
    void paintEvent(QPaintEvent* event) override;
};

} // namespace quoxelin
