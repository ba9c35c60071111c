#pragma once

#include <optional>
#include <simdjson.h>
#include <string>
#include <string_view>

/// Rewrites numbers that the library would reject or round. The parser is used for single tokens.
namespace quoxelin::json {

/// The library rejects a whole text for one number that none of its types can hold. This makes each
/// such number smaller but still out of range for integers, so that only a member that reads it
/// fails. Empty if the text has no such number.
std::optional<std::string> withHugeNumbersTamed(std::string_view text,
                                                simdjson::dom::parser& parser);

/// The library rounds long integers that are written with a fraction or an exponent. This rewrites
/// them as plain digits. Empty if the text has no such number.
std::optional<std::string> withPlainIntegers(std::string_view text);

} // namespace quoxelin::json
