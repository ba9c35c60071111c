#include "Simulation/Daemon/Base64.h"
#include "Simulation/Daemon/Text.h"

#include <gtest/gtest.h>

namespace quoxelin::sim {
namespace {

using namespace std::string_literals;

TEST(Base64, turnsBytesIntoTextAndBack) {
    EXPECT_EQ(toBase64(""), "");
    EXPECT_EQ(toBase64("f"), "Zg==");
    EXPECT_EQ(toBase64("fo"), "Zm8=");
    EXPECT_EQ(toBase64("foo"), "Zm9v");
    std::string bytes;
    for (int i = 0; i < 256; ++i) {
        bytes += static_cast<char>(i);
        EXPECT_EQ(fromBase64(toBase64(bytes)), bytes);
    }
}

TEST(Base64, refusesWhatIsNotPaddedBase64) {
    for (const char* text : {"Zg", "Zg=", "Zg==\n", "Z===", "====", "Zg==Zg==", "Zm9-", "Zm 9"}) {
        EXPECT_FALSE(fromBase64(text)) << text;
    }
}

TEST(Text, tellsUtf8FromOtherBytes) {
    for (const char* text : {"", "plain", "ü", "日本", "\xF0\x9F\xA6\x8A", "\xF4\x8F\xBF\xBF"}) {
        EXPECT_TRUE(isUtf8(text)) << text;
    }
    for (const char* bytes : {"\x80", "\xC3", "\xC0\xAF", "\xE0\x9F\xBF", "\xED\xA0\x80",
                              "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xFF", "\xE6\x97z"}) {
        EXPECT_FALSE(isUtf8(bytes)) << bytes;
    }
}

TEST(Text, replacesWhatCannotStandInAJsonLine) {
    EXPECT_EQ(printable("日本"), "日本");
    EXPECT_EQ(printable("a\xFFz"), "a?z");
}

TEST(Text, undoesPercentEncoding) {
    EXPECT_EQ(percentDecoded("a%20b%2fc+"), "a b/c+");
    EXPECT_EQ(percentDecoded("%00"), "\0"s);
    for (const char* text : {"%", "%4", "%4g", "a%"}) {
        EXPECT_FALSE(percentDecoded(text)) << text;
    }
}

TEST(Text, findsQueryItems) {
    EXPECT_EQ(queryItem("/p?x=1&id=two&y", "id"), "two");
    EXPECT_EQ(queryItem("/p?id=", "id"), "");
    EXPECT_EQ(queryItem("/p?id=a=b", "id"), "a=b");
    EXPECT_FALSE(queryItem("/p?x=id", "id"));
    EXPECT_FALSE(queryItem("/p?id", "id"));
    EXPECT_FALSE(queryItem("/p", "id"));
    EXPECT_EQ(pathOf("/p?x"), "/p");
}

TEST(Text, escapesForHtml) {
    EXPECT_EQ(htmlEscaped("<a&'\">"), "&lt;a&amp;&#39;&quot;&gt;");
}

} // namespace
} // namespace quoxelin::sim
