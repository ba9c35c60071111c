#include "Base/NotificationCenter.h"

#include <gtest/gtest.h>
#include <optional>

namespace quoxelin::testing {

TEST(NotificationCenter, notifiesEveryObserverOfTheName) {
    NotificationCenter center;
    std::string heard;
    const auto a = center.addObserver("a", [&](const auto& n) { heard += "1" + n.name; });
    const auto alsoA = center.addObserver("a", [&](const auto& n) { heard += "2" + n.name; });
    const auto b = center.addObserver("b", [&](const auto& n) { heard += "3" + n.name; });
    center.post("a");
    EXPECT_EQ(heard, "1a2a");
    center.post("b");
    EXPECT_EQ(heard, "1a2a3b");
}

TEST(NotificationCenter, passesTheObjectOn) {
    NotificationCenter center;
    std::optional<int> object;
    bool empty = false;
    const auto subscription = center.addObserver("a", [&](const Notification& notification) {
        empty = !notification.object.has_value();
        if (const auto* const number = std::any_cast<int>(&notification.object))
            object = *number;
    });
    center.post("a", 7);
    EXPECT_EQ(object, 7);
    EXPECT_FALSE(empty);
    center.post("a");
    EXPECT_TRUE(empty);
}

TEST(NotificationCenter, letsAnObserverPostAndObserveAgain) {
    NotificationCenter center;
    std::string heard;
    std::vector<Subscription> more;
    const auto a = center.addObserver("a", [&](const auto&) {
        heard += 'a';
        more.push_back(center.addObserver("b", [&](const auto&) { heard += 'b'; }));
        center.post("b");
    });
    center.post("a");
    EXPECT_EQ(heard, "ab");
    center.post("a");
    EXPECT_EQ(heard, "ababb");
}

} // namespace quoxelin::testing
