#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace quoxelin {

/// The strings at the top level of an XML property list's dictionary, by key. Values of other types
/// are left out. Empty if the text is malformed.
std::optional<std::map<std::string, std::string>> stringsOfPropertyList(std::string_view text);

} // namespace quoxelin
