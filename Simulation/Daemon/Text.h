#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quoxelin::sim {

/// Makes bytes from a client fit for JSON: returns valid UTF-8 unchanged, and otherwise replaces
/// all bytes outside ASCII by "?".
std::string printable(std::string_view bytes);

/// The value of the query item `name` in a request target such as "/path?id=a%20b&x=y",
/// percent-decoded. Empty if it is missing or the target is malformed.
std::optional<std::string> queryItem(std::string_view target, std::string_view name);

/// The request target up to its query.
std::string_view pathOf(std::string_view target);

/// The text with HTML's five special characters escaped.
std::string htmlEscaped(std::string_view text);

} // namespace quoxelin::sim
