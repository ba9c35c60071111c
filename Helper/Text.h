#pragma once

#include <string>
#include <string_view>

namespace quoxelin::helper {

/// The bytes as a text that may travel over the bus: bytes that are not UTF-8, and NUL, become
/// U+FFFD. Half a character at the end is left out: an output may have been cut there.
std::string asUtf8(std::string_view bytes);

/// The text for one line of a log: ASCII without control characters, which could fake another
/// line, and not longer than 200 characters.
std::string forLog(std::string_view text);

} // namespace quoxelin::helper
