#pragma once

namespace quoxelin {

class ElementView;

/// Lets Tab and the arrows walk the rows in the order of reading, wherever new ones came in.
void setFocusOrder(ElementView& root);

} // namespace quoxelin
