#include "Base/LocalTime.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

TEST(LocalTime, agreesWithTheStandardLibrarysOwnInEverySeason) {
    for (std::time_t time = 0; time < 2'000'000'000; time += 10'000'019) {
        const auto ours = localTime(time);
        const auto theirs = *std::localtime(&time);
        EXPECT_EQ(ours.tm_year, theirs.tm_year);
        EXPECT_EQ(ours.tm_yday, theirs.tm_yday);
        EXPECT_EQ(ours.tm_hour, theirs.tm_hour);
        EXPECT_EQ(ours.tm_min, theirs.tm_min);
        EXPECT_EQ(ours.tm_sec, theirs.tm_sec);
    }
}

TEST(LocalTime, countsBackBeforeTheEpoch) {
    const std::time_t time = -86400 * 366 * 5 - 1;
    auto ours = localTime(time);
    EXPECT_EQ(std::mktime(&ours), time);
    EXPECT_EQ(ours.tm_sec, 59);
}

} // namespace quoxelin::testing
