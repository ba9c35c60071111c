#include "Helper/Text.h"

#include <algorithm>
#include <cstdint>

namespace quoxelin::helper {

namespace {

struct Shape {
    std::size_t length;
    std::uint8_t firstBits;
    std::uint32_t smallest;
};

Shape shapeOf(std::uint8_t first) {
    if (first < 0x80)
        return {1, 0x7F, 1};
    if (first < 0xC2 || first > 0xF4)
        return {0, 0, 0};
    if (first < 0xE0)
        return {2, 0x1F, 0x80};
    if (first < 0xF0)
        return {3, 0x0F, 0x800};
    return {4, 0x07, 0x10000};
}

/// The length of the first character in bytes; 0 if it is invalid. Sets `isHalf` if more bytes
/// could make it valid.
std::size_t lengthOfCharacter(std::string_view bytes, bool& isHalf) {
    const auto byte = [&](std::size_t index) { return static_cast<std::uint8_t>(bytes[index]); };
    const auto shape = shapeOf(byte(0));
    const auto present = std::min(shape.length, bytes.size());
    std::uint32_t character = byte(0) & shape.firstBits;
    for (std::size_t index = 1; index < present; ++index) {
        if ((byte(index) & 0xC0) != 0x80)
            return 0;
        character = character << 6 | (byte(index) & 0x3F);
    }
    isHalf = present < shape.length;
    const bool isSurrogate = character >= 0xD800 && character < 0xE000;
    return isHalf || character < shape.smallest || isSurrogate || character > 0x10FFFF
               ? 0
               : shape.length;
}

} // namespace

std::string asUtf8(std::string_view bytes) {
    std::string text;
    while (!bytes.empty()) {
        bool isHalf = false;
        const auto length = lengthOfCharacter(bytes, isHalf);
        if (isHalf)
            break;
        text += length > 0 ? bytes.substr(0, length) : std::string_view("\uFFFD");
        bytes.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return text;
}

std::string forLog(std::string_view text) {
    constexpr std::size_t longest = 200;
    constexpr std::string_view digits = "0123456789abcdef";
    std::string line;
    // One character more than fits shows that the text was longer.
    for (const char c : text.substr(0, longest + 1)) {
        if (c >= ' ' && c <= '~' && c != '\\') {
            line += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            line.append({'\\', 'x', digits[byte >> 4], digits[byte & 15]});
        }
    }
    return line.size() <= longest ? line : line.substr(0, longest) + "...";
}

} // namespace quoxelin::helper
