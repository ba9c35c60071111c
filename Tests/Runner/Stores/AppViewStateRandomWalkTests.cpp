#include "Tests/Support/StoreWalk.h"

#include <cstdlib>
#include <deque>

namespace quoxelin::testing {
namespace {

/// Walks until the end or the first failure, then prints how to reproduce it.
void walk(std::uint64_t seed, int steps) {
    StoreWalk walk{Dice(seed)};
    std::deque<std::string> trail;
    for (int i = 1; i <= steps; ++i) {
        trail.push_back(fmt::format("{}: {}", i, walk.step()));
        if (trail.size() > 12)
            trail.pop_front();
        if (::testing::Test::HasFailure()) {
            ADD_FAILURE() << "QUOXELIN_WALK_SEED=" << seed << ", the last steps:\n"
                          << fmt::format("{}", fmt::join(trail, "\n"));
            return;
        }
    }
    if (steps > 1000) {
        EXPECT_GT(walk.observed().retries(), 50);
        EXPECT_GT(walk.observed().failures(), 5);
    }
    walk.end();
    if (::testing::Test::HasFailure())
        ADD_FAILURE() << "QUOXELIN_WALK_SEED=" << seed << ", at the end of " << steps << " steps";
}

std::uint64_t firstSeed() {
    const auto* chosen = std::getenv("QUOXELIN_WALK_SEED");
    return chosen != nullptr ? std::strtoull(chosen, nullptr, 10) : 20240501;
}

TEST(AppViewStateRandomWalk, keepsItsInvariantsForTenThousandSteps) {
    walk(firstSeed(), 10000);
}

TEST(AppViewStateRandomWalk, canBeDestroyedAtAnyStep) {
    for (std::uint64_t seed = firstSeed(); seed < firstSeed() + 50; ++seed) {
        walk(seed, static_cast<int>(5 + seed % 60));
        if (HasFailure())
            return;
    }
}

} // namespace
} // namespace quoxelin::testing
