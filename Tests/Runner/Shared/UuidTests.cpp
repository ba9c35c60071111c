#include "Runner/Shared/Uuid.h"

#include <gtest/gtest.h>
#include <regex>
#include <set>

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

} // namespace quoxelin::testing
