#include "Simulation/Daemon/Text.h"

#include <gtest/gtest.h>

namespace quoxelin::sim {
namespace {

TEST(Text, replacesWhatAJsonLineCannotContain) {
    EXPECT_EQ(printable("日本"), "日本");
    EXPECT_EQ(printable("a\xFFz"), "a?z");
}

TEST(Text, findsQueryItems) {
    EXPECT_EQ(queryItem("/p?x=1&id=two&y", "id"), "two");
    EXPECT_EQ(queryItem("/p?id=", "id"), "");
    EXPECT_EQ(queryItem("/p?id=a=b", "id"), "a=b");
    EXPECT_EQ(queryItem("/p?id=a%20b%2fc", "id"), "a b/c");
    EXPECT_FALSE(queryItem("/p?id=a%4", "id"));
    EXPECT_FALSE(queryItem("/p?x=id", "id"));
    EXPECT_FALSE(queryItem("/p?id", "id"));
    EXPECT_FALSE(queryItem("/p", "id"));
    EXPECT_EQ(pathOf("/p?x"), "/p");
}

TEST(Text, escapesForHtml) {
    EXPECT_EQ(htmlEscaped("<a&'\">"), "&lt;a&amp;&#39;&quot;&gt;");
}

} // namespace
} // namespace quoxelin::sim
