#pragma once

#include <cstdint>
#include <optional>
#include <rapidcheck.h>
#include <string>
#include <vector>

/// Generators for property tests.
namespace quoxelin::testing::generate {

inline void appendUtf8(std::string& text, std::uint32_t codePoint) {
    const auto tail = [codePoint](int shift) {
        return static_cast<char>(0x80 | ((codePoint >> shift) & 0x3F));
    };
    if (codePoint < 0x80)
        text += static_cast<char>(codePoint);
    else if (codePoint < 0x800)
        text += {static_cast<char>(0xC0 | codePoint >> 6), tail(0)};
    else if (codePoint < 0x10000)
        text += {static_cast<char>(0xE0 | codePoint >> 12), tail(6), tail(0)};
    else
        text += {static_cast<char>(0xF0 | codePoint >> 18), tail(12), tail(6), tail(0)};
}

/// Any text, including control characters, NUL, quotes and all planes.
inline rc::Gen<std::string> text() {
    const auto codePoint = rc::gen::oneOf(rc::gen::inRange<std::uint32_t>(0, 0x80),
                                          rc::gen::element<std::uint32_t>('"', '\\', '/', '\n'),
                                          rc::gen::inRange<std::uint32_t>(0x80, 0xD800),
                                          rc::gen::inRange<std::uint32_t>(0xE000, 0x110000));
    return rc::gen::map(rc::gen::container<std::vector<std::uint32_t>>(codePoint),
                        [](const std::vector<std::uint32_t>& codePoints) {
                            std::string text;
                            for (const auto one : codePoints)
                                appendUtf8(text, one);
                            return text;
                        });
}

inline rc::Gen<std::string> bytes() {
    return rc::gen::container<std::string>(
        rc::gen::map(rc::gen::inRange(0, 256), [](int byte) { return static_cast<char>(byte); }));
}

template <typename T>
rc::Gen<std::optional<T>> optional(rc::Gen<T> gen) {
    return rc::gen::oneOf(
        rc::gen::just(std::optional<T>()),
        rc::gen::map(std::move(gen), [](T value) { return std::optional<T>(std::move(value)); }));
}

inline rc::Gen<std::optional<std::string>> optionalText() {
    return optional(text());
}

inline rc::Gen<std::optional<std::vector<std::string>>> optionalTexts() {
    return optional(rc::gen::container<std::vector<std::string>>(text()));
}

} // namespace quoxelin::testing::generate
