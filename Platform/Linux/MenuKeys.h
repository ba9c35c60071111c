#pragma once

class QWidget;

namespace quoxelin {

/// Moves the focus among the rows of the window as a menu does: Up and Down, around the ends, Home
/// and End, Page Up and Page Down. Returns false for other keys.
bool moveFocusAsInMenu(QWidget& window, int key);

} // namespace quoxelin
