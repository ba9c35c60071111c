#pragma once

#include <QProxyStyle>
#include <QScrollArea>

namespace quoxelin {

/// Draws a scroll bar as a thin handle over the content, without buttons.
class ThinScrollBarStyle final : public QProxyStyle {
  public:
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* data) const override;
    int pixelMetric(PixelMetric metric, const QStyleOption* option,
                    const QWidget* widget) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                         const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                            QPainter* painter, const QWidget* widget) const override;
};

/// Shows its content through a window that may be less high. The content keeps the full width.
class ScrollView final : public QScrollArea {
  public:
    explicit ScrollView(QWidget* parent);
    ~ScrollView() override;

  protected:
    /// The keys move the focus, and what has the focus is scrolled into view.
    void keyPressEvent(QKeyEvent* event) override;

  private:
    ThinScrollBarStyle style;
};

/// Scrolls all views around the widget so that it can be seen.
void scrollIntoView(QWidget& widget);

} // namespace quoxelin
