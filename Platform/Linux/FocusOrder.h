#pragma once

namespace quoxelin {

class ElementView;

/// Lets Tab and the arrow keys move through the rows in reading order, including new rows.
void setFocusOrder(ElementView& root);

} // namespace quoxelin
