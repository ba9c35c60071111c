#include "Helper/Text.h"

#include <cstdio>
#include <glib.h>
#include <memory>

namespace quoxelin::helper {

std::string asUtf8(std::string_view bytes, bool wasCut) {
    if (wasCut) {
        // At most three bytes of a character can stand at the end without its last one.
        for (std::size_t back = 1; back <= 3 && back <= bytes.size(); ++back) {
            const auto byte = static_cast<unsigned char>(bytes[bytes.size() - back]);
            const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
            if (byte >= 0x80 && byte < 0xC0)
                continue;
            if (length > back)
                bytes.remove_suffix(back);
            break;
        }
    }
    const std::unique_ptr<char, decltype(&g_free)> valid(
        g_utf8_make_valid(bytes.data(), static_cast<gssize>(bytes.size())), &g_free);
    return valid.get();
}

std::string forLog(std::string_view text) {
    constexpr std::size_t longest = 200;
    std::string line;
    // One more than fits shows that there was more.
    for (const char c : text.substr(0, longest + 1)) {
        if (c >= ' ' && c <= '~' && c != '\\') {
            line += c;
        } else {
            char escaped[5];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned char>(c));
            line += escaped;
        }
    }
    return line.size() <= longest ? line : line.substr(0, longest) + "...";
}

} // namespace quoxelin::helper
