#include "Base/JsonDecoder.h"

#include <gtest/gtest.h>

namespace quoxelin::json {
namespace {

constexpr std::size_t mebibyte = 1 << 20;

/// What the parser can hold after it has read a text of that length.
std::size_t capacityAfter(std::size_t length) {
    return parseDocument('"' + std::string(length - 2, 'x') + '"', 0).value()->parser.capacity();
}

/// The memory is the program's, so it can be what an earlier test needed.
class JsonMemory : public ::testing::Test {
  protected:
    JsonMemory() {
        for (int count = 0; count < 17; ++count)
            capacityAfter(9);
    }
};

TEST_F(JsonMemory, isGivenBackAfter16TextsThatAreMuchShorter) {
    constexpr std::size_t longest = mebibyte * 3 / 2;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(capacityAfter(longest), longest) << "begins again";
        for (int count = 0; count < 15; ++count)
            EXPECT_EQ(capacityAfter(9), longest);
    }
    EXPECT_LT(capacityAfter(9), mebibyte);
}

TEST_F(JsonMemory, isKeptForTextsOfAtLeastAQuarter) {
    constexpr std::size_t longest = mebibyte * 4;
    EXPECT_EQ(capacityAfter(longest), longest);
    for (int count = 0; count < 20; ++count)
        EXPECT_EQ(capacityAfter(longest / 4), longest);
    for (int count = 0; count < 15; ++count)
        EXPECT_EQ(capacityAfter(longest / 4 - 1), longest);
    EXPECT_LT(capacityAfter(longest / 4 - 1), longest);
}

TEST_F(JsonMemory, isKeptIfItIsLittle) {
    EXPECT_EQ(capacityAfter(mebibyte), mebibyte);
    for (int count = 0; count < 20; ++count)
        EXPECT_EQ(capacityAfter(9), mebibyte);
}

TEST_F(JsonMemory, holdsNothingOfTheLastText) {
    parseDocument("[1]", 0).value()->kept.resize(7);
    EXPECT_TRUE(parseDocument("[2]", 0).value()->kept.empty());
}

} // namespace
} // namespace quoxelin::json
