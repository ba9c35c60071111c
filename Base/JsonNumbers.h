#pragma once

#include <optional>
#include <simdjson.h>
#include <string>
#include <string_view>

/// What the library does not do with numbers, done to the text. The parser is used for single
/// tokens.
namespace quoxelin::json {

/// The library rejects a whole text for one number that none of its types can hold. This makes each
/// such number smaller but still out of range for integers, so that only a member that reads it
/// fails. Absent if there is no such number.
std::optional<std::string> withHugeNumbersTamed(std::string_view text,
                                                simdjson::dom::parser& parser);

/// The library rounds long integers that are written with a fraction or an exponent. This writes
/// them without. Absent if there is no such number.
std::optional<std::string> withPlainIntegers(std::string_view text);

} // namespace quoxelin::json
