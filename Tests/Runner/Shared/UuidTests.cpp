#include "Runner/Shared/Uuid.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <vector>

namespace quoxelin::testing {

TEST(Uuid, hasTheFormOfARandomOne) {
    const std::regex form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    for (int i = 0; i < 100; ++i) {
        const auto uuid = freshUuid();
        EXPECT_TRUE(std::regex_match(uuid, form)) << uuid;
    }
}

TEST(Uuid, isFreshEachTime) {
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i)
        EXPECT_TRUE(seen.insert(freshUuid()).second);
}

TEST(Uuid, isRandomInEveryBitButSix) {
    // The digits' bits of many, by their place: what every bit was, one after the other.
    std::vector<std::string> bits(128);
    for (int i = 0; i < 64; ++i) {
        auto place = bits.begin();
        for (const char digit : freshUuid()) {
            const auto value = digit == '-' ? -1 : std::stoi(std::string(1, digit), nullptr, 16);
            for (const int bit : {8, 4, 2, 1})
                if (value >= 0)
                    *place++ += (value & bit) != 0 ? '1' : '0';
        }
    }
    EXPECT_EQ(std::set(bits.begin(), bits.end()).size(), 122u + 2u);
    EXPECT_EQ(std::count(bits.begin(), bits.end(), std::string(64, '0')), 4);
    EXPECT_EQ(std::count(bits.begin(), bits.end(), std::string(64, '1')), 2);
}

} // namespace quoxelin::testing
