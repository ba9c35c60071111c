#include "Base/Trim.h"

#include <gtest/gtest.h>

namespace quoxelin {
namespace {

TEST(Trim, removesSpacesAndLineBreaksFromBothEndsOnly) {
    EXPECT_EQ(trimmingWhitespacesAndNewlines(" \t\r\n disk  not\nencrypted \v\f\n"),
              "disk  not\nencrypted");
}

TEST(Trim, makesATextOfSpacesEmpty) {
    EXPECT_EQ(trimmingWhitespacesAndNewlines(""), "");
    EXPECT_EQ(trimmingWhitespacesAndNewlines("  \n"), "");
}

TEST(Trim, removesUnicodeSpaces) {
    EXPECT_EQ(
        trimmingWhitespacesAndNewlines("\u3000\u00A0\u2003\u200B理由\u2028\u2029\u0085\u202F"),
        "理由");
}

TEST(Trim, removesNoPartOfALongerCharacter) {
    // Their first or last bytes equal those of white space characters.
    EXPECT_EQ(trimmingWhitespacesAndNewlines("\u2010\u00C5\u3001"), "\u2010\u00C5\u3001");
    EXPECT_EQ(trimmingWhitespacesAndNewlines("\u0105"), "\u0105");
}

TEST(Trim, stopsAtBytesThatAreNotUtf8) {
    EXPECT_EQ(trimmingWhitespacesAndNewlines(" \x85\xA0\xFF "), "\x85\xA0\xFF");
}

} // namespace
} // namespace quoxelin
