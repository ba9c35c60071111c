#include "Simulation/Daemon/Text.h"

#include <cstdint>

namespace quoxelin::sim {

namespace {

int hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

} // namespace

bool isUtf8(std::string_view bytes) {
    for (std::size_t i = 0; i < bytes.size();) {
        const auto lead = static_cast<unsigned char>(bytes[i++]);
        if (lead < 0x80) {
            continue;
        }
        const std::size_t more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
        if (lead < 0xC2 || lead > 0xF4 || bytes.size() - i < more) {
            return false;
        }
        std::uint32_t point = lead & (0x3Fu >> more);
        for (std::size_t j = 0; j < more; ++j) {
            const auto next = static_cast<unsigned char>(bytes[i++]);
            if ((next & 0xC0) != 0x80) {
                return false;
            }
            point = point << 6 | (next & 0x3Fu);
        }
        const bool overlong = (more == 2 && point < 0x800) || (more == 3 && point < 0x10000);
        if (overlong || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) {
            return false;
        }
    }
    return true;
}

std::string printable(std::string_view bytes) {
    std::string text(bytes);
    if (!isUtf8(bytes)) {
        for (char& c : text) {
            if (static_cast<unsigned char>(c) >= 0x80) {
                c = '?';
            }
        }
    }
    return text;
}

std::optional<std::string> percentDecoded(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            bytes += text[i];
            continue;
        }
        const int high = i + 2 < text.size() ? hexDigit(text[i + 1]) : -1;
        const int low = i + 2 < text.size() ? hexDigit(text[i + 2]) : -1;
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        bytes += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return bytes;
}

std::optional<std::string> queryItem(std::string_view target, std::string_view name) {
    const std::size_t mark = target.find('?');
    if (mark == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view query = target.substr(mark + 1);
    while (!query.empty()) {
        const std::size_t end = std::min(query.find('&'), query.size());
        const std::string_view item = query.substr(0, end);
        query.remove_prefix(std::min(end + 1, query.size()));
        const std::size_t equals = item.find('=');
        if (equals != std::string_view::npos && item.substr(0, equals) == name) {
            return percentDecoded(item.substr(equals + 1));
        }
    }
    return std::nullopt;
}

std::string_view pathOf(std::string_view target) {
    return target.substr(0, target.find('?'));
}

std::string htmlEscaped(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&#39;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

} // namespace quoxelin::sim
