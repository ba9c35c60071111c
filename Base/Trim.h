#pragma once

#include <string_view>

namespace quoxelin {

/// The UTF-8 text without the white space and line breaks around it: all of Unicode's, the zero
/// width space included, as the platform's own text functions take them.
std::string_view trimmingWhitespacesAndNewlines(std::string_view text);

} // namespace quoxelin
