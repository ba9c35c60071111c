#pragma once

#include <QColor>
#include <QRect>

namespace quoxelin {

/// A color that can be seen on the bar below an icon: light or dark if the bar's brightness can be
/// read from the screen, else a gray that can be seen on both.
QColor colorForIconAt(const QRect& icon);

} // namespace quoxelin
