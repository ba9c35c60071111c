#include "Runner/Views/ShownText.h"

namespace quoxelin {

namespace {

constexpr std::string_view ellipsis = "…";

/// Whether the byte begins a character of UTF-8.
bool isFirstByte(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

} // namespace

std::string shownText(std::string_view text) {
    if (text.size() <= shownTextLimit)
        return std::string(text);
    constexpr auto half = (shownTextLimit - ellipsis.size()) / 2;
    auto end = half;
    while (end > 0 && !isFirstByte(text[end]))
        --end;
    auto begin = text.size() - half;
    while (begin < text.size() && !isFirstByte(text[begin]))
        ++begin;
    std::string shown(text.substr(0, end));
    shown += ellipsis;
    shown += text.substr(begin);
    return shown;
}

} // namespace quoxelin
