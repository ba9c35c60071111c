#pragma once

#include "Platform/Linux/Wayland/LayeredWindow.h"

#include <functional>

namespace quoxelin {

class ScrollView;

/// A frameless window that looks like a card: rounded, with a soft shadow if the desktop can show
/// one. It is as large as its content, which scrolls if the screen is smaller.
class FloatingWindow : public LayeredWindow<QWidget> {
  public:
    FloatingWindow(QWidget* parent, Qt::WindowFlags flags);

    /// Takes ownership.
    void setContent(QWidget* content);

    void setCornerRadius(int radius);
    void setHasShadow(bool hasShadow);

    /// The card on the screen: the window without its shadow.
    QRect card() const;
    void moveCard(const QPoint& topLeft);

    /// The card will be on the screen that holds this point, and no higher than that.
    void setScreenPoint(const QPoint& point) { screenPoint = point; }

    /// Resizes the window to what the content needs now, also while it is hidden.
    void fitContent();

    /// The handler is called after the visible card has changed its size.
    void setResized(std::function<void()> handler) { resized = std::move(handler); }

    void setEscapePressed(std::function<void()> handler) { escapePressed = std::move(handler); }

  protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    QMargins shadowMargins() const;
    QSize wantedCardSize() const;
    void updateShape();
    void tellDesktopOfShadow();
    void paintShadow(QPainter& painter) const;

    ScrollView* scrollView;
    int cornerRadius = 10;
    bool hasShadow = true;
    bool isBlended = true;
    QPoint screenPoint;
    std::function<void()> resized, escapePressed;
};

} // namespace quoxelin
