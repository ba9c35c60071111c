#pragma once

#include "Platform/Linux/ElementView.h"

#include <QLabel>
#include <QWidget>

namespace quoxelin {

/// A text. Plain, whatever it holds.
class TextView final : public QLabel, public ElementView {
  public:
    TextView();

    QWidget& widget() override { return *this; }
    const QWidget& widget() const override { return *this; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return lineLimit != 1; }
    int heightForWidth(int width) const override;

  protected:
    void bindContent(const ViewNode& node) override;
    void readContent(ViewNode& node) const override;
    void paintEvent(QPaintEvent* event) override;

  private:
    /// The text as it is shown in that width.
    QStringList lines(int width) const;

    /// As high as what is written in it: another script's letters may be higher than the font's
    /// own.
    int lineHeight(const QString& line) const;
    int height(const QStringList& lines) const;

    int lineLimit = 0;
};

/// A symbol, as large as the text that it stands beside.
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

    /// Of the symbol.
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

/// Takes what room is left.
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

/// A thin line across.
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
