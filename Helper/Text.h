#pragma once

#include <string>
#include <string_view>

namespace quoxelin::helper {

/// The bytes as a text that may travel over the bus: what is no UTF-8, and NUL, becomes U+FFFD.
/// `wasCut` says that the bytes are the beginning of longer ones: half a character at the end is
/// then left out.
std::string asUtf8(std::string_view bytes, bool wasCut = false);

/// The text for one line of a log: no control characters that would feign another line, nothing
/// but ASCII, and not longer than 200 characters.
std::string forLog(std::string_view text);

} // namespace quoxelin::helper
