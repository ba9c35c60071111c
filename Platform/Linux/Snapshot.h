#pragma once

#include <QImage>
#include <QWidget>

namespace quoxelin {

/// The visible panel, popovers and dialogs, topmost last. Does not include the tray icon.
QWidgetList windowsOnScreen();

/// A picture of the application's visible windows at their places; empty if there are none.
QImage snapshotOfWindows();

} // namespace quoxelin
