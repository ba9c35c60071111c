#pragma once

#include "Platform/Linux/Wayland/LayeredWindow.h"

#include <QLabel>
#include <QObject>
#include <memory>

namespace quoxelin {

/// Shows the tool tips of windows on the layer shell. Qt's would be ordinary windows there, because
/// their parents have no role that it knows.
class LayeredToolTips final : public QObject {
  public:
    LayeredToolTips();
    ~LayeredToolTips() override;

    /// Shows the text beside the widget's window. Returns false, and shows nothing, if that window
    /// is not on the layer shell.
    static bool show(const QWidget& widget, const QString& text, const QPoint& pointer);

  protected:
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    void showBeside(const QWidget& window, const QString& text, const QPoint& pointer);

    static LayeredToolTips* instance;
    std::unique_ptr<LayeredWindow<QLabel>> tip;
};

} // namespace quoxelin
