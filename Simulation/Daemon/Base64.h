#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quoxelin::sim {

/// Bytes as padded standard base64, the form in which arbitrary bytes travel in steering lines.
std::string toBase64(std::string_view bytes);

/// The bytes behind padded standard base64; absent when `text` is anything else, white space
/// included.
std::optional<std::string> fromBase64(std::string_view text);

} // namespace quoxelin::sim
