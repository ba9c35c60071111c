#include "Base/AsciiCase.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

TEST(AsciiCase, doesNotMatterForLetters) {
    EXPECT_TRUE(equalIgnoringAsciiCase("AaMmZz", "aAmMzZ"));
    EXPECT_TRUE(equalIgnoringAsciiCase("", ""));
    EXPECT_FALSE(equalIgnoringAsciiCase("running", "runnings"));
    EXPECT_FALSE(equalIgnoringAsciiCase("runnings", "running"));
    EXPECT_FALSE(equalIgnoringAsciiCase("a", "b"));
}

TEST(AsciiCase, appliesOnlyToLetters) {
    EXPECT_FALSE(equalIgnoringAsciiCase("@", "`"));
    EXPECT_FALSE(equalIgnoringAsciiCase("[", "{"));
    EXPECT_FALSE(equalIgnoringAsciiCase("É", "é"));
    EXPECT_FALSE(equalIgnoringAsciiCase("\u212A", "k")); // the Kelvin sign
}

} // namespace quoxelin::testing
