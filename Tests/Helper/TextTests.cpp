#include "Helper/RefusalLog.h"
#include "Helper/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

namespace quoxelin::helper {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;

TEST(HelperText, keepsWhatIsUtf8) {
    EXPECT_EQ(asUtf8("plain, \xC3\xA9, \xE2\x82\xAC, \xF0\x9F\x94\x92\n"),
              "plain, \xC3\xA9, \xE2\x82\xAC, \xF0\x9F\x94\x92\n");
    EXPECT_EQ(asUtf8(""), "");
}

TEST(HelperText, replacesWhatMayNotTravel) {
    EXPECT_EQ(asUtf8("a\0b"s), "a\uFFFDb");
    EXPECT_EQ(asUtf8("\xFE\xFF"), "\uFFFD\uFFFD");
    EXPECT_EQ(asUtf8("\xE2\x82"), "\uFFFD\uFFFD");
}

TEST(HelperText, leavesOutHalfACharacterWhereItWasCut) {
    for (const auto* half : {"", "\xC3", "\xE2", "\xE2\x82", "\xF0\x9F\x94"})
        EXPECT_EQ(asUtf8("caf\xC3\xA9"s + half, true), "caf\xC3\xA9");
    EXPECT_EQ(asUtf8("\x80\x80\x80\x80", true), "\uFFFD\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(asUtf8("", true), "");
    EXPECT_EQ(asUtf8("a", true), "a");
}

TEST(HelperText, isOneLineOfAsciiInTheLog) {
    EXPECT_EQ(forLog("a \\ \n\r\t\x7F\xC3\xA9"), "a \\x5c \\x0a\\x0d\\x09\\x7f\\xc3\\xa9");
    EXPECT_EQ(forLog(std::string(200, 'a')), std::string(200, 'a'));
    EXPECT_EQ(forLog(std::string(201, 'a')), std::string(200, 'a') + "...");
    EXPECT_EQ(forLog(std::string(1000, '\n')).size(), 203u);
}

TEST(RefusalLog, saysHowMuchItLeftOut) {
    RefusalLog::Clock::time_point now;
    std::vector<std::string> lines;
    RefusalLog log([&](const auto& line) { lines.push_back(line); }, [&] { return now; });
    for (int count = 0; count < 1000; ++count)
        log("refused");
    EXPECT_EQ(lines.size(), 20u);
    now += std::chrono::seconds(59);
    log("refused");
    EXPECT_EQ(lines.size(), 20u);
    lines.clear();
    now += std::chrono::seconds(1);
    log("once more");
    log("and again");
    EXPECT_THAT(lines, ElementsAre("refused 981 more", "once more", "and again"));
}

} // namespace
} // namespace quoxelin::helper
