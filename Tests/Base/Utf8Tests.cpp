#include "Base/Utf8.h"

#include <gtest/gtest.h>
#include <string>

namespace quoxelin::testing {

TEST(Utf8, isValidInEveryLength) {
    using namespace std::string_view_literals;
    for (const auto text :
         {""sv, "a"sv, "\0"sv, "\x7F"sv, "\xC2\x80"sv, "\xDF\xBF"sv, "\xE0\xA0\x80"sv,
          "\xED\x9F\xBF"sv, "\xEE\x80\x80"sv, "\xEF\xBF\xBF"sv, "\xF0\x90\x80\x80"sv,
          "\xF4\x8F\xBF\xBF"sv, "\xEF\xBB\xBFwith a mark"sv})
        EXPECT_TRUE(isValidUtf8(text)) << text;
}

TEST(Utf8, isInvalidIfOverlongCutOffOrOutOfRange) {
    for (const auto* const text :
         {"\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xC2", "\xC2\x41", "\xE0\x80\x80",
          "\xE0\x9F\xBF", "\xE3\x81", "\xED\xA0\x80", "\xED\xBF\xBF", "\xF0\x80\x80\x80",
          "\xF0\x8F\xBF\xBF", "\xF0\x9F\x98", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFE",
          "\xFF"}) {
        EXPECT_FALSE(isValidUtf8(text)) << text;
        // Also between long valid texts, where whole blocks are checked at once.
        const std::string much(200, 'x');
        EXPECT_FALSE(isValidUtf8(much + text));
        EXPECT_FALSE(isValidUtf8(text + much));
    }
}

} // namespace quoxelin::testing
