#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quoxelin::sim {

/// Whether `bytes` is well-formed UTF-8 (no surrogates, no overlong forms, nothing above U+10FFFF).
bool isUtf8(std::string_view bytes);

/// `bytes` when it is UTF-8, otherwise with every byte outside ASCII replaced by "?": what may
/// stand in a JSON line whatever a client sent.
std::string printable(std::string_view bytes);

/// Undoes percent-encoding; absent when a "%" is not followed by two hexadecimal digits.
std::optional<std::string> percentDecoded(std::string_view text);

/// The value of the query item `name` in a request target such as "/path?id=a%20b&x=y",
/// percent-decoded. Absent when there is no such item or its encoding is broken.
std::optional<std::string> queryItem(std::string_view target, std::string_view name);

/// The request target up to its query.
std::string_view pathOf(std::string_view target);

/// `text` with the five characters that mean something in HTML replaced.
std::string htmlEscaped(std::string_view text);

} // namespace quoxelin::sim
