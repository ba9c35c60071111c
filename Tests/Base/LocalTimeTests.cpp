#include "Base/LocalTime.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace quoxelin::testing {

namespace {

/// Runs in a time zone with daylight saving time, whatever the environment says.
class LocalTime : public ::testing::Test {
  protected:
    LocalTime() {
        if (const auto* zone = std::getenv("TZ"))
            before = zone;
        ::setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        ::tzset();
    }
    ~LocalTime() override {
        if (before)
            ::setenv("TZ", before->c_str(), 1);
        else
            ::unsetenv("TZ");
        ::tzset();
    }

  private:
    std::optional<std::string> before;
};

} // namespace

TEST_F(LocalTime, agreesWithTheStandardLibraryInEverySeason) {
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

TEST_F(LocalTime, followsAChangeOfTheZone) {
    EXPECT_EQ(localTime(0).tm_hour, 1);
    ::setenv("TZ", "JST-9", 1);
    EXPECT_EQ(localTime(0).tm_hour, 9);
}

TEST_F(LocalTime, countsBackBeforeTheEpoch) {
    const std::time_t time = -86400 * 366 * 5 - 1;
    auto ours = localTime(time);
    EXPECT_EQ(std::mktime(&ours), time);
    EXPECT_EQ(ours.tm_sec, 59);
}

} // namespace quoxelin::testing
