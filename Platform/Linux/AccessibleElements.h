#pragma once

class QString;
class QWidget;

namespace quoxelin {

/// Describes the panel to assistive technology as it is read on the screen: each card is a window
/// with its texts and rows in reading order, and its open popover behind them. What only arranges
/// or decorates is left out. Call once, before the first window is made. Main thread only.
void describeElementsToAssistiveTechnology();

/// Has assistive technology say the text, after what it is saying now. Does nothing if no
/// assistive technology runs.
void announce(QWidget& widget, const QString& text);

} // namespace quoxelin
