#include "Base/ObserverList.h"

#include <gtest/gtest.h>
#include <optional>
#include <rapidcheck/gtest.h>
#include <string>

namespace quoxelin::testing {

TEST(ObserverList, notifiesObserversInTheOrderOfRegistration) {
    ObserverList<int> list;
    std::string heard;
    const auto a = list.add([&](int value) { heard += 'a' + std::to_string(value); });
    const auto b = list.add([&](int value) { heard += 'b' + std::to_string(value); });
    list.notify(1);
    list.notify(2);
    EXPECT_EQ(heard, "a1b1a2b2");
}

TEST(ObserverList, doesNotNotifyRemovedObservers) {
    ObserverList<> list;
    int heard = 0;
    auto subscription = list.add([&] { ++heard; });
    EXPECT_FALSE(list.empty());
    subscription.cancel();
    EXPECT_TRUE(list.empty());
    list.notify();
    EXPECT_EQ(heard, 0);
}

TEST(ObserverList, letsAnObserverRemoveItselfWhileItIsNotified) {
    ObserverList<> list;
    std::string heard;
    std::optional<Subscription> first;
    const auto owned = std::make_shared<std::string>("a");
    first = list.add([&, owned] {
        first.reset();
        heard += *owned; // its captures still exist
    });
    const auto second = list.add([&] { heard += 'b'; });
    list.notify();
    list.notify();
    EXPECT_EQ(heard, "abb");
    EXPECT_EQ(owned.use_count(), 1);
}

TEST(ObserverList, notifiesObserversAddedMeanwhileFromTheNextTimeOn) {
    ObserverList<> list;
    std::string heard;
    std::optional<Subscription> later;
    const auto first = list.add([&] {
        heard += 'a';
        if (!later)
            later = list.add([&] { heard += 'b'; });
    });
    list.notify();
    EXPECT_EQ(heard, "a");
    list.notify();
    EXPECT_EQ(heard, "aab");
}

TEST(ObserverList, deliversANestedNotificationToAllFirst) {
    ObserverList<int> list;
    std::string heard;
    const auto a = list.add([&](int value) {
        heard += 'a' + std::to_string(value);
        if (value == 1)
            list.notify(2);
    });
    const auto b = list.add([&](int value) { heard += 'b' + std::to_string(value); });
    list.notify(1);
    EXPECT_EQ(heard, "a1a2b2b1");
}

TEST(ObserverList, mayBeDestroyedByAnObserver) {
    auto list = std::make_unique<ObserverList<>>();
    std::string heard;
    const auto first = list->add([&] {
        heard += 'a';
        list.reset();
    });
    const auto second = list->add([&] { heard += 'b'; });
    list->notify();
    EXPECT_EQ(heard, "ab");
}

TEST(ObserverList, mayBeDestroyedBeforeItsSubscriptions) {
    std::optional<Subscription> subscription;
    {
        ObserverList<> list;
        subscription = list.add([] {});
    }
    subscription.reset();
}

TEST(ObserverList, passesReferencesOn) {
    ObserverList<std::string&> list;
    const auto subscription = list.add([](std::string& text) { text += '!'; });
    std::string text = "a";
    list.notify(text);
    EXPECT_EQ(text, "a!");
}

/// Whatever observers do to each other while being notified, each initial observer that is not
/// removed before its turn is called once, in order.
RC_GTEST_PROP(ObserverListProperties, notifiesEachRemainingObserverOnce, ()) {
    const auto count = *rc::gen::inRange<std::size_t>(1, 8);
    // What each observer removes when called, and whether it adds one.
    const auto removes = *rc::gen::container<std::vector<std::vector<std::size_t>>>(
        count,
        rc::gen::container<std::vector<std::size_t>>(rc::gen::inRange<std::size_t>(0, count)));
    const auto adds = *rc::gen::container<std::vector<bool>>(count, rc::gen::arbitrary<bool>());

    ObserverList<> list;
    std::vector<Subscription> subscriptions(count);
    std::vector<Subscription> added;
    std::vector<std::size_t> told;
    int toldAdded = 0;
    for (std::size_t place = 0; place < count; ++place) {
        subscriptions[place] = list.add([&, place] {
            told.push_back(place);
            for (const auto other : removes[place])
                subscriptions[other].cancel();
            if (adds[place])
                added.push_back(list.add([&] { ++toldAdded; }));
        });
    }
    list.notify();

    std::vector<std::size_t> expected;
    std::vector<bool> present(count, true);
    for (std::size_t place = 0; place < count; ++place) {
        if (!present[place])
            continue;
        expected.push_back(place);
        for (const auto other : removes[place])
            present[other] = false;
    }
    RC_ASSERT(told == expected);
    RC_ASSERT(toldAdded == 0);
}

} // namespace quoxelin::testing
