#pragma once

#include <QImage>
#include <QWidget>

namespace quoxelin {

/// The panel, the pop-overs and the dialogs that are on the screen, what lies on top last. The
/// tray's icon is none of them.
QWidgetList windowsOnScreen();

/// A picture of all that the application shows on the screen, its windows where they lie; empty
/// when it shows nothing.
QImage snapshotOfWindows();

} // namespace quoxelin
