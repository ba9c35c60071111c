#pragma once

#include <string>
#include <string_view>

namespace quoxelin::helper {

/// Converts bytes to text that the bus accepts: NUL and bytes that are not UTF-8 become U+FFFD.
/// Half a character at the end is dropped, because an output may be cut there.
std::string asUtf8(std::string_view bytes);

/// Converts text for one line of a log: at most 200 ASCII characters, without control characters,
/// which could fake another line.
std::string forLog(std::string_view text);

} // namespace quoxelin::helper
