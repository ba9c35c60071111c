#include "Helper/Turns.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

namespace quoxelin::helper {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HelperTurns : public ::testing::Test {
  protected:
    bool take(uid_t user, int name) {
        return turns.take(user, [this, name](Turns::Turn turn) {
            begun.push_back(name);
            taken.push_back(std::move(turn));
        });
    }

    std::vector<int> begun;
    std::vector<Turns::Turn> taken;
    Turns turns{2, 3};
};

TEST_F(HelperTurns, comeInOrderOnceAnotherEnds) {
    for (int name = 1; name <= 5; ++name)
        EXPECT_TRUE(take(1000, name));
    EXPECT_THAT(begun, ElementsAre(1, 2));
    taken[1].reset();
    EXPECT_THAT(begun, ElementsAre(1, 2, 3));
    taken[0].reset();
    taken[2].reset();
    EXPECT_THAT(begun, ElementsAre(1, 2, 3, 4, 5));
    EXPECT_TRUE(take(1000, 6));
    EXPECT_EQ(begun.size(), 5u);
}

TEST_F(HelperTurns, stayTakenWhenOthersOfTheUserEnd) {
    for (int name = 1; name <= 2; ++name)
        EXPECT_TRUE(take(1000, name));
    taken[0].reset();
    for (int name = 3; name <= 4; ++name)
        EXPECT_TRUE(take(1000, name));
    EXPECT_THAT(begun, ElementsAre(1, 2, 3));
}

TEST_F(HelperTurns, areRefusedWhenTheLineIsFull) {
    for (int name = 1; name <= 5; ++name)
        EXPECT_TRUE(take(1000, name));
    EXPECT_FALSE(take(1000, 6));
    taken[0].reset();
    EXPECT_TRUE(take(1000, 7));
    EXPECT_FALSE(take(1000, 8));
}

TEST_F(HelperTurns, ofOneUserDoNotHoldUpAnother) {
    for (int name = 1; name <= 6; ++name)
        take(1000, name);
    begun.clear();
    EXPECT_TRUE(take(1001, 7));
    EXPECT_THAT(begun, ElementsAre(7));
}

TEST_F(HelperTurns, areAlwaysThereForRoot) {
    for (int name = 0; name < 100; ++name)
        EXPECT_TRUE(take(0, name));
    EXPECT_EQ(begun.size(), 100u);
}

TEST_F(HelperTurns, thatAreDroppedGoToTheNext) {
    taken.reserve(10);
    for (int name = 1; name <= 2; ++name)
        take(1000, name);
    for (int name = 3; name <= 5; ++name)
        turns.take(1000, [&, name](const Turns::Turn&) { begun.push_back(name); });
    taken[0].reset();
    EXPECT_THAT(begun, ElementsAre(1, 2, 3, 4, 5));
}

TEST(HelperTurnsAtTheEnd, keepTheLineMoving) {
    Turns::Turn left;
    std::vector<int> begun;
    {
        Turns turns(1, 1);
        turns.take(1000, [&](Turns::Turn turn) { left = std::move(turn); });
        turns.take(1000, [&](const Turns::Turn&) { begun.push_back(2); });
    }
    left.reset();
    EXPECT_THAT(begun, IsEmpty());
}

} // namespace
} // namespace quoxelin::helper
