#include "Helper/RefusalLog.h"
#include "Helper/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

namespace quoxelin::helper {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(HelperText, keepsUtf8) {
    EXPECT_EQ(asUtf8("plain, \xC3\xA9, \xE2\x82\xAC, \xF0\x9F\x94\x92\n"),
              "plain, \xC3\xA9, \xE2\x82\xAC, \xF0\x9F\x94\x92\n");
    EXPECT_EQ(asUtf8(""), "");
}

TEST(HelperText, replacesWhatTheBusForbids) {
    EXPECT_EQ(asUtf8("a\0b"s), "a\uFFFDb");
    EXPECT_EQ(asUtf8("\xFE\xFF"), "\uFFFD\uFFFD");
    // Overlong, a surrogate, above U+10FFFF, without a first byte.
    EXPECT_EQ(asUtf8("\xC0\x80 \xED\xA0\x80 \xF4\x90\x80\x80 \x80"),
              "\uFFFD\uFFFD \uFFFD\uFFFD\uFFFD \uFFFD\uFFFD\uFFFD\uFFFD \uFFFD");
    EXPECT_EQ(asUtf8("\xE2\x82x"), "\uFFFD\uFFFDx");
}

TEST(HelperText, knowsTheFirstAndTheLastCharacterOfEachLength) {
    for (const std::string character :
         {"\x01", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
          "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"})
        EXPECT_EQ(asUtf8(character), character);
    for (const std::string bytes :
         {"\x80", "\xBF", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xED\xBF\xBF",
          "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80"}) {
        std::string replaced;
        for (std::size_t count = 0; count < bytes.size(); ++count)
            replaced += "\uFFFD";
        EXPECT_EQ(asUtf8(bytes), replaced);
    }
}

TEST(HelperText, dropsHalfACharacterAtTheCut) {
    for (const auto* half : {"", "\xC2", "\xC3", "\xE2", "\xE2\x82", "\xF0\x9F\x94", "\xF4"})
        EXPECT_EQ(asUtf8("caf\xC3\xA9"s + half), "caf\xC3\xA9");
    for (const auto* begin : {"\x80", "\xC0", "\xC1", "\xF5", "\xFF"})
        EXPECT_EQ(asUtf8(begin), "\uFFFD") << "no character begins so";
    EXPECT_EQ(asUtf8("\x80\x80\x80\x80"), "\uFFFD\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(asUtf8(""), "");
    EXPECT_EQ(asUtf8("a"), "a");
}

TEST(HelperText, isLoggedAsOneLineOfAscii) {
    EXPECT_EQ(forLog("a~ \\ \n\r\t\x7F\xC3\xA9"), "a~ \\x5c \\x0a\\x0d\\x09\\x7f\\xc3\\xa9");
    EXPECT_EQ(forLog(std::string(200, 'a')), std::string(200, 'a'));
    EXPECT_EQ(forLog(std::string(201, 'a')), std::string(200, 'a') + "...");
    EXPECT_EQ(forLog(std::string(1000, '\n')).size(), 203u);
}

class HelperRefusalLog : public ::testing::Test {
  protected:
    RefusalLog::Clock::time_point now;
    std::vector<std::string> lines;
    RefusalLog log{[this](const auto& line) { lines.push_back(line); }, [this] { return now; }};
};

TEST_F(HelperRefusalLog, saysHowMuchItLeftOut) {
    for (int count = 0; count < 1000; ++count)
        log(1000, [] { return "refused"; });
    EXPECT_EQ(lines.size(), 20u);
    now += std::chrono::seconds(59);
    log(1000, [] { return "refused"; });
    EXPECT_EQ(lines.size(), 20u);
    lines.clear();
    now += std::chrono::seconds(1);
    log(1000, [] { return "once more"; });
    log(1000, [] { return "and again"; });
    EXPECT_THAT(lines, ElementsAre("refused user 1000 981 more times", "once more", "and again"));
}

TEST_F(HelperRefusalLog, hidesNoUserBehindAnother) {
    for (int count = 0; count < 1000; ++count)
        log(1000, [] { return "junk"; });
    log(1001, [] { return "the real attempt"; });
    EXPECT_EQ(lines.back(), "the real attempt");
}

TEST_F(HelperRefusalLog, saysItAtTheEndOfTheMinuteAndAtTheEndOfAll) {
    for (int count = 0; count < 22; ++count)
        log(1000, [] { return "refused"; });
    log.count(1001, 3);
    lines.clear();
    EXPECT_TRUE(log.writeCounts());
    EXPECT_THAT(lines, IsEmpty());
    now += std::chrono::minutes(1);
    log.count(1002, 4);
    EXPECT_THAT(lines,
                ElementsAre("refused user 1000 2 more times", "refused user 1001 3 more times"));
    lines.clear();
    log.finish();
    log.finish();
    EXPECT_THAT(lines, ElementsAre("refused user 1002 4 more times"));
    EXPECT_FALSE(log.writeCounts());
}

TEST_F(HelperRefusalLog, saysNothingMoreWhenItLeftNothingOut) {
    log(1000, [] { return "refused"; });
    now += std::chrono::minutes(1);
    EXPECT_FALSE(log.writeCounts());
    EXPECT_THAT(lines, ElementsAre("refused"));
}

} // namespace
} // namespace quoxelin::helper
