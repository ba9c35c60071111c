#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quoxelin {

/// Adds the text at the end of the file, which is created if need be, in one write, so that the
/// texts of several processes do not mix. Returns how much of it was written. Any thread.
std::size_t appendToFile(const std::string& path, std::string_view text);

} // namespace quoxelin
