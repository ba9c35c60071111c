#pragma once

#include "Platform/Linux/Wayland/LayeredWindow.h"

#include <QLabel>
#include <QObject>
#include <memory>

namespace quoxelin {

/// Shows the tool tips of windows on the layer shell. Qt's would be ordinary windows there, because
/// their parents have no role that it knows. Does nothing on other desktops.
class LayeredToolTips final : public QObject {
  public:
    LayeredToolTips();

  protected:
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    void show(QWidget& window, const QString& text, const QPoint& pointer);

    std::unique_ptr<LayeredWindow<QLabel>> tip;
};

} // namespace quoxelin
