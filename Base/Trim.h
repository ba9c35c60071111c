#pragma once

#include <string_view>

namespace quoxelin {

/// The UTF-8 text without leading and trailing Unicode white space and line breaks, including the
/// zero width space.
std::string_view trimmingWhitespacesAndNewlines(std::string_view text);

} // namespace quoxelin
