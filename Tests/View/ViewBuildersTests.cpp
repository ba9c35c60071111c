#include "View/ViewBuilders.h"

#include <gtest/gtest.h>

namespace quoxelin::view {

TEST(ViewBuilders, giveARecordItsKey) {
    EXPECT_EQ(keyed("key", spacer()).key, "key");
}

TEST(ViewBuilders, stackBelowEachOther) {
    EXPECT_EQ(verticalStack({}).kind, ViewNode::Kind::verticalStack);
    EXPECT_EQ(list({}, 3).kind, ViewNode::Kind::list);
    EXPECT_EQ(list({}, 3).spacing, 3);
}

} // namespace quoxelin::view
