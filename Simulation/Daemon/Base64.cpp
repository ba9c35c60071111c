#include "Simulation/Daemon/Base64.h"

#include <cstdint>

namespace quoxelin::sim {

namespace {

constexpr std::string_view alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

} // namespace

std::string toBase64(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t j = 0; j < 3; ++j) {
            group = group << 8 | (j < count ? static_cast<unsigned char>(bytes[i + j]) : 0u);
        }
        for (std::size_t j = 0; j < 4; ++j) {
            text += j <= count ? alphabet[group >> (18 - 6 * j) & 63] : '=';
        }
    }
    return text;
}

std::optional<std::string> fromBase64(std::string_view text) {
    if (text.size() % 4 != 0) {
        return std::nullopt;
    }
    std::size_t padding = 0;
    while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == '=') {
        ++padding;
    }
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t digit = i + padding >= text.size() ? 0 : alphabet.find(text[i]);
        if (digit == std::string_view::npos) {
            return std::nullopt;
        }
        group = group << 6 | static_cast<std::uint32_t>(digit);
        if (i % 4 == 3) {
            bytes += static_cast<char>(group >> 16 & 255);
            bytes += static_cast<char>(group >> 8 & 255);
            bytes += static_cast<char>(group & 255);
        }
    }
    bytes.resize(bytes.size() - padding);
    return bytes;
}

} // namespace quoxelin::sim
