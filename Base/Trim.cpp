#include "Base/Trim.h"

#include <algorithm>
#include <array>

namespace quoxelin {

namespace {

constexpr std::array<std::string_view, 26> blanks = {
    "\t",           "\n",           "\v",           "\f",           "\r",           " ",
    "\xC2\x85",     "\xC2\xA0",     "\xE1\x9A\x80", "\xE2\x80\x80", "\xE2\x80\x81", "\xE2\x80\x82",
    "\xE2\x80\x83", "\xE2\x80\x84", "\xE2\x80\x85", "\xE2\x80\x86", "\xE2\x80\x87", "\xE2\x80\x88",
    "\xE2\x80\x89", "\xE2\x80\x8A", "\xE2\x80\x8B", "\xE2\x80\xA8", "\xE2\x80\xA9", "\xE2\x80\xAF",
    "\xE2\x81\x9F", "\xE3\x80\x80",
};

} // namespace

std::string_view trimmingWhitespacesAndNewlines(std::string_view text) {
    for (;;) {
        const auto found = std::find_if(blanks.begin(), blanks.end(),
                                        [&](const auto blank) { return text.starts_with(blank); });
        if (found == blanks.end())
            break;
        text.remove_prefix(found->size());
    }
    for (;;) {
        const auto found = std::find_if(blanks.begin(), blanks.end(),
                                        [&](const auto blank) { return text.ends_with(blank); });
        if (found == blanks.end())
            break;
        text.remove_suffix(found->size());
    }
    return text;
}

} // namespace quoxelin
