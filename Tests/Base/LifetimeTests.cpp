#include "Base/Lifetime.h"

#include "Base/Dispatch.h"

#include <gtest/gtest.h>
#include <string>

namespace quoxelin::testing {

namespace {

class Owner {
  public:
    explicit Owner(std::string& heard) : heard(heard) {}

    Work later() {
        return lifetime.weakly([this] { heard += name; });
    }

    std::string name = "owner";

  private:
    std::string& heard;
    Lifetime lifetime;
};

} // namespace

TEST(Lifetime, skipsAClosureOnceTheOwnerIsGone) {
    std::string heard;
    auto owner = std::make_unique<Owner>(heard);
    const auto closure = owner->later();
    const auto copy = closure;
    owner.reset();
    closure();
    copy();
    EXPECT_EQ(heard, "");
}

TEST(Lifetime, passesArgumentsOn) {
    Lifetime lifetime;
    std::string text;
    auto closure =
        lifetime.weakly([&](std::unique_ptr<std::string> a, const char* b) { text = *a + b; });
    closure(std::make_unique<std::string>("a"), "b");
    EXPECT_EQ(text, "ab");
}

TEST(Lifetime, letsTheOwnerBeDestroyedWhileAClosureRuns) {
    auto lifetime = std::make_unique<Lifetime>();
    int calls = 0;
    Work closure = lifetime->weakly([&] {
        ++calls;
        lifetime.reset();
    });
    closure();
    closure();
    EXPECT_EQ(calls, 1);
}

TEST(Lifetime, releasesNothingBeforeTheClosureIsDestroyed) {
    const auto held = std::make_shared<int>(1);
    auto lifetime = std::make_unique<Lifetime>();
    Work closure = lifetime->weakly([held] {});
    lifetime.reset();
    EXPECT_EQ(held.use_count(), 2);
    closure = nullptr;
    EXPECT_EQ(held.use_count(), 1);
}

} // namespace quoxelin::testing
