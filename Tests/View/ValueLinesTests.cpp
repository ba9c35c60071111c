#include "View/ValueLines.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

using Lines = std::vector<std::string>;

/// In a font whose letters are all equally wide.
Lines lines(std::string_view text, int limit, std::size_t width) {
    return valueLines(text, limit, [&](const std::string& line) { return line.size() <= width; });
}

} // namespace

TEST(ValueLines, areOneWhereTheTextFits) {
    EXPECT_EQ(lines("DNS: laptop", 2, 11), (Lines{"DNS: laptop"}));
}

TEST(ValueLines, breakAtTheSpaceBeforeAValueAndNowhereElse) {
    EXPECT_EQ(lines("DNS: my-laptop", 2, 10), (Lines{"DNS:", "my-laptop"}));
    EXPECT_EQ(lines("Quoxelin IPv6: fd7a:1::4", 2, 14), (Lines{"Quoxelin IPv6:", "fd7a:1::4"}));
}

TEST(ValueLines, keepAValueInOnePieceThatIsTooWide) {
    EXPECT_EQ(lines("DNS: build-machine.example.com", 2, 10),
              (Lines{"DNS:", "build-machine.example.com"}));
    EXPECT_EQ(lines("build-machine.example.com", 2, 10), (Lines{"build-machine.example.com"}));
}

TEST(ValueLines, putTheRestOnTheLastLine) {
    EXPECT_EQ(lines("a b c d", 2, 1), (Lines{"a", "b c d"}));
    EXPECT_EQ(lines("a b c d", 1, 1), (Lines{"a b c d"}));
    EXPECT_EQ(lines("a b c d", 0, 1), (Lines{"a", "b", "c", "d"}));
}

TEST(ValueLines, areNoneForAnEmptyText) {
    EXPECT_EQ(lines("", 2, 10), Lines{});
    EXPECT_EQ(lines(" \n ", 2, 10), Lines{});
}

} // namespace quoxelin::testing
