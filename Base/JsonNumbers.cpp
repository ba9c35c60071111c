#include "Base/JsonNumbers.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace quoxelin::json {

namespace dom = simdjson::dom;

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::size_t endOfString(std::string_view text, std::size_t opening) {
    for (std::size_t at = opening + 1; at < text.size(); ++at) {
        if (text[at] == '\\')
            ++at;
        else if (text[at] == '"')
            return at + 1;
    }
    return text.size();
}

/// Shortens the digits so that a floating-point type can hold the value, but no integer type can. A
/// malformed token stays malformed.
std::string tamed(std::string_view token) {
    std::string text;
    bool isExponent = false;
    for (std::size_t at = 0; at < token.size(); ++at) {
        text += token[at];
        isExponent = isExponent || token[at] == 'e' || token[at] == 'E';
        if (!isDigit(token[at]))
            continue;
        const auto end = std::min(token.find_first_not_of("0123456789", at), token.size());
        if (isExponent)
            text.back() = '9';
        if (isExponent || end - at > 1)
            text += '9';
        at = end - 1;
    }
    return isExponent ? text : text + "e99";
}

/// The text with each number replaced for which `replacement` returns a token. Empty if it returns
/// none.
template <typename Replacement>
std::optional<std::string> withNumbersReplaced(std::string_view text, Replacement replacement) {
    std::string result;
    std::size_t copied = 0;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] == '"') {
            at = endOfString(text, at);
            continue;
        }
        if (text[at] != '-' && !isDigit(text[at])) {
            ++at;
            continue;
        }
        const auto end = std::min(text.find_first_not_of("0123456789+-.eE", at), text.size());
        if (const std::optional<std::string> other = replacement(text.substr(at, end - at))) {
            result.append(text, copied, at - copied).append(*other);
            copied = end;
        }
        at = end;
    }
    return copied == 0 ? std::nullopt : std::optional(result.append(text, copied));
}

/// Shorter integers with a fraction or an exponent are exact as floating-point numbers;
/// 9223372035e9 is not.
constexpr std::size_t shortestInexact = 12;

/// The digits of an integer that is written with a fraction or an exponent. Empty if the token is
/// another number, or too large for 64 bits.
std::optional<std::string> plainInteger(std::string_view token) {
    const auto mantissa = token.substr(0, token.find_first_of("eE"));
    auto exponent = token.substr(std::min(mantissa.size() + 1, token.size()));
    if (exponent.starts_with('+'))
        exponent.remove_prefix(1);
    std::int32_t power = 0;
    const auto* const end = exponent.data() + exponent.size();
    if (!exponent.empty() && std::from_chars(exponent.data(), end, power).ec != std::errc())
        return std::nullopt;
    std::int64_t scale = power;
    std::string digits(mantissa);
    if (const auto point = digits.find('.'); point != std::string::npos) {
        scale -= static_cast<std::int64_t>(digits.size() - point - 1);
        digits.erase(point, 1);
    }
    for (; scale < 0 && digits.ends_with('0'); ++scale)
        digits.pop_back();
    if (scale < 0 || scale > 18)
        return std::nullopt;
    digits.append(static_cast<std::size_t>(scale), '0');
    std::int64_t number = 0;
    const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const bool isWhole = parsed.ptr == digits.data() + digits.size();
    return isWhole && parsed.ec == std::errc() ? std::optional(std::to_string(number))
                                               : std::nullopt;
}

} // namespace

std::optional<std::string> withHugeNumbersTamed(std::string_view text, dom::parser& parser) {
    constexpr std::size_t alwaysHeld = 18;
    return withNumbersReplaced(text, [&](std::string_view token) {
        const bool mayBeHuge =
            token.size() > alwaysHeld || token.find_first_of("eE") != std::string_view::npos;
        const bool isHuge =
            mayBeHuge && parser.parse(token.data(), token.size()).error() != simdjson::SUCCESS;
        return isHuge ? std::optional(tamed(token)) : std::nullopt;
    });
}

std::optional<std::string> withPlainIntegers(std::string_view text) {
    dom::parser parser;
    return withNumbersReplaced(text, [&](std::string_view token) -> std::optional<std::string> {
        if (token.size() < shortestInexact || token.find_first_of(".eE") == token.npos ||
            parser.parse(token.data(), token.size()).error() != simdjson::SUCCESS)
            return std::nullopt;
        return plainInteger(token);
    });
}

} // namespace quoxelin::json
