#include "Base/JsonDecoder.h"

#include <gtest/gtest.h>

namespace quoxelin::json {
namespace {

constexpr std::size_t mebibyte = 1 << 20;

/// What the parser can hold after it has read a text of that length.
std::size_t capacityAfter(std::size_t length) {
    return parseDocument('"' + std::string(length - 2, 'x') + '"', 0).value()->parser.capacity();
}

TEST(JsonMemory, isGivenBackAfter16TextsThatAreMuchShorter) {
    constexpr std::size_t longest = mebibyte * 3 / 2;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(capacityAfter(longest), longest) << "begins again";
        for (int count = 0; count < 15; ++count)
            EXPECT_EQ(capacityAfter(9), longest);
    }
    EXPECT_LT(capacityAfter(9), mebibyte);
}

TEST(JsonMemory, isKeptForTextsOfAtLeastAQuarter) {
    constexpr std::size_t longest = mebibyte * 4;
    EXPECT_EQ(capacityAfter(longest), longest);
    for (int count = 0; count < 20; ++count)
        EXPECT_EQ(capacityAfter(longest / 4), longest);
    for (int count = 0; count < 15; ++count)
        EXPECT_EQ(capacityAfter(longest / 4 - 1), longest);
    EXPECT_LT(capacityAfter(longest / 4 - 1), longest);
}

TEST(JsonMemory, isKeptIfItIsLittle) {
    for (int count = 0; count < 17; ++count) // whatever there was before
        capacityAfter(9);
    EXPECT_EQ(capacityAfter(mebibyte), mebibyte);
    for (int count = 0; count < 20; ++count)
        EXPECT_EQ(capacityAfter(9), mebibyte);
}

TEST(JsonMemory, holdsNothingOfTheLastText) {
    parseDocument("[1]", 0).value()->kept.resize(7);
    EXPECT_TRUE(parseDocument("[2]", 0).value()->kept.empty());
}

} // namespace
} // namespace quoxelin::json
