#include "Base/Url.h"

#include <gtest/gtest.h>

namespace quoxelin {

TEST(Url, percentEncodesReservedCharactersForAQuery) {
    std::string allowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
                          "-._~!$&'()*+,;=:@/?";
    EXPECT_EQ(percentEncodedForQuery(allowed), allowed);
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        if (allowed.find(text) != std::string::npos)
            continue;
        constexpr char hexadecimal[] = "0123456789ABCDEF";
        const std::string encoded = {'%', hexadecimal[byte >> 4], hexadecimal[byte & 15]};
        EXPECT_EQ(percentEncodedForQuery(text), encoded) << byte;
    }
    EXPECT_EQ(percentEncodedForQuery("a b#c%d[e]é"), "a%20b%23c%25d%5Be%5D%C3%A9");
    EXPECT_EQ(percentEncodedForQuery("%20"), "%2520");
    EXPECT_EQ(percentEncodedForQuery(""), "");
}

TEST(Url, refusesInvalidText) {
    for (const auto* const text : {"", " ", "a b", "http://a b", "%", "a%2", "a%zz", "é",
                                   "http://é", "http://[", "a\nb", "1:2:3 "})
        EXPECT_FALSE(Url::parse(text).has_value()) << text;
}

TEST(Url, keepsItsTextAsWritten) {
    for (const auto* const text :
         {"quoxelin://callback?token=a%20b", "HTTP://Host/Path", "relative", "?q", "#f", "a:b"}) {
        const auto url = Url::parse(text);
        ASSERT_TRUE(url.has_value()) << text;
        EXPECT_EQ(url->text(), text);
    }
}

TEST(Url, knowsItsScheme) {
    EXPECT_EQ(Url::parse("quoxelin://callback")->scheme(), "quoxelin");
    EXPECT_EQ(Url::parse("QuoXelin:x")->scheme(), "QuoXelin");
    EXPECT_EQ(Url::parse("//host/path")->scheme(), "");
    EXPECT_EQ(Url::parse("path")->scheme(), "");
}

TEST(Url, decodesTheItemsOfItsQueryInOrder) {
    const auto items =
        Url::parse("quoxelin://c?b=1&token=a%20b+c%26&token&=x&c=#f=g")->queryItems();
    ASSERT_EQ(items.size(), 5u);
    EXPECT_EQ(items[0].name, "b");
    EXPECT_EQ(items[0].value, "1");
    EXPECT_EQ(items[1].name, "token");
    EXPECT_EQ(items[1].value, "a b+c&");
    EXPECT_EQ(items[2].name, "token");
    EXPECT_EQ(items[2].value, std::nullopt);
    EXPECT_EQ(items[3].name, "");
    EXPECT_EQ(items[3].value, "x");
    EXPECT_EQ(items[4].value, "");
    EXPECT_TRUE(Url::parse("quoxelin://c")->queryItems().empty());
    for (const auto* const empty : {"quoxelin://c?", "quoxelin://c?#token=a"})
        EXPECT_TRUE(Url::parse(empty)->queryItems().empty()) << empty;
}

} // namespace quoxelin
