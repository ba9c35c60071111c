#include "Base/Published.h"

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quoxelin::testing {

namespace {

class Model final : public ObservableObject {
  public:
    Published<int> count{*this, 0};
    Published<std::string> name{*this, "none"};
};

} // namespace

TEST(Published, convertsToItsValue) {
    Model model;
    EXPECT_EQ(model.count, 0);
    EXPECT_EQ(model.name.get(), "none");
    EXPECT_EQ(model.name->size(), 4u);
    model.count = 7;
    model.name = "a";
    EXPECT_EQ(model.count, 7);
    EXPECT_EQ(model.name.get(), "a");
}

TEST(Published, passesTheCurrentValueToANewSubscriberAtOnce) {
    Model model;
    model.count = 3;
    std::vector<int> values;
    const auto subscription = model.count.subscribe([&](int value) { values.push_back(value); });
    EXPECT_EQ(values, std::vector{3});
}

TEST(Published, publishesEveryAssignmentEvenOfAnEqualValue) {
    Model model;
    std::vector<int> values;
    const auto subscription = model.count.subscribe([&](int value) { values.push_back(value); });
    model.count = 1;
    model.count = 1;
    model.count = 0;
    EXPECT_EQ(values, (std::vector{0, 1, 1, 0}));
}

TEST(Published, notifiesObserversOfTheObjectBeforeAndSubscribersOfTheValueAfter) {
    Model model;
    std::string heard;
    const auto object =
        model.objectWillChange([&] { heard += "will " + std::to_string(model.count) + "; "; });
    const auto value = model.count.subscribe([&](int now) {
        heard += "is " + std::to_string(now) + '=' + std::to_string(model.count) + "; ";
    });
    model.count = 5;
    EXPECT_EQ(heard, "is 0=0; will 0; is 5=5; ");
}

TEST(Published, notifiesObserversOfTheObjectOfEveryField) {
    Model model;
    int heard = 0;
    const auto subscription = model.objectWillChange([&] { ++heard; });
    EXPECT_EQ(heard, 0);
    model.count = 1;
    model.name = "a";
    model.name = "a";
    EXPECT_EQ(heard, 3);
}

TEST(Published, keepsFieldsApart) {
    Model model;
    int heard = 0;
    const auto subscription = model.name.subscribe([&](const std::string&) { ++heard; });
    model.count = 1;
    EXPECT_EQ(heard, 1);
}

TEST(Published, letsASubscriberAssignAgain) {
    Model model;
    std::vector<int> first, second;
    const auto limiting = model.count.subscribe([&](int value) {
        first.push_back(value);
        if (value > 10)
            model.count = 10;
    });
    const auto plain = model.count.subscribe([&](int value) { second.push_back(value); });
    model.count = 99;
    EXPECT_EQ(model.count, 10);
    EXPECT_EQ(first, (std::vector{0, 99, 10}));
    // The inner assignment notified all subscribers before the outer one continued.
    EXPECT_EQ(second, (std::vector{0, 10, 99}));
}

TEST(Published, passesTheSameValueToAllSubscribersOfOneAssignment) {
    Model model;
    std::string heard;
    const auto first = model.name.subscribe([&](const std::string& name) {
        if (name == "a")
            model.name = "a much longer text that has to be stored elsewhere";
    });
    const auto second = model.name.subscribe([&](const std::string& name) { heard += name + ';'; });
    model.name = "a";
    EXPECT_EQ(heard, "none;a much longer text that has to be stored elsewhere;a;");
}

TEST(Published, notifiesASubscriberOnceThatUnsubscribesAtItsFirstCall) {
    Model model;
    std::optional<Subscription> subscription;
    int heard = 0;
    subscription = model.count.subscribe([&](int) {
        ++heard;
        subscription.reset();
    });
    model.count = 1; // the first call came before the token existed
    model.count = 2;
    EXPECT_EQ(heard, 2);
}

} // namespace quoxelin::testing
