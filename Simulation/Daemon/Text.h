#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quoxelin::sim {

/// `bytes` when it is UTF-8, otherwise with every byte outside ASCII replaced by "?": fit for a
/// JSON line whatever a client sent.
std::string printable(std::string_view bytes);

/// The value of the query item `name` in a request target such as "/path?id=a%20b&x=y",
/// percent-decoded. Absent when there is none or the target is malformed.
std::optional<std::string> queryItem(std::string_view target, std::string_view name);

/// The request target up to its query.
std::string_view pathOf(std::string_view target);

/// `text` with the five characters that mean something in HTML replaced.
std::string htmlEscaped(std::string_view text);

} // namespace quoxelin::sim
