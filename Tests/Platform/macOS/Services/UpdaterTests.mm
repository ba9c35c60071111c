#include "Platform/macOS/MacUpdater.h"
#include "Simulation/System/SimulatedFoundation.h"
#include "Tests/Platform/macOS/Services/ServiceFixture.h"

namespace quoxelin::testing {

namespace {

class MacUpdaterTest : public ServiceTest {
  protected:
    std::unique_ptr<SPUStandardUpdaterController> makeController(const std::string& key) {
        bundle.infoDictionary["SUPublicEDKey"] = key;
        return MacUpdates(bundle).makeStandardUpdaterController(true);
    }

    SimulatedBundle bundle;
};

} // namespace

TEST_F(MacUpdaterTest, reportsWhenItCanCheckForUpdates) {
    const auto controller = makeController("key");
    EXPECT_TRUE(stage::updates().isStarted);
    std::vector<bool> seen;
    const auto subscription =
        controller->updater().observeCanCheckForUpdates([&](bool can) { seen.push_back(can); });
    EXPECT_EQ(seen, std::vector<bool>{false});
    ASSERT_TRUE(comesTrue([&] { return seen.size() == 2; }));
    EXPECT_TRUE(controller->updater().canCheckForUpdates());
    controller->checkForUpdates();
    EXPECT_FALSE(controller->updater().canCheckForUpdates());
    ASSERT_TRUE(comesTrue([&] { return seen.size() == 4; }));
    EXPECT_EQ(seen, (std::vector<bool>{false, true, false, true}));
    controller->updater().checkForUpdates();
    EXPECT_EQ(stage::updates().checks, 2);
}

TEST_F(MacUpdaterTest, endsAnObservationFromWithinIt) {
    const auto controller = makeController("key");
    int calls = 0;
    Subscription subscription;
    subscription =
        controller->updater().observeCanCheckForUpdates([&, kept = keepsake()](bool can) {
            ++calls;
            if (can)
                subscription.cancel();
            EXPECT_EQ(kept, keepsake());
        });
    ASSERT_TRUE(comesTrue([&] { return calls == 2; }));
    controller->checkForUpdates();
    EXPECT_FALSE(controller->updater().canCheckForUpdates());
    EXPECT_EQ(calls, 2);
}

TEST_F(MacUpdaterTest, startsNoUpdaterWithoutAKey) {
    const auto controller = makeController("");
    EXPECT_FALSE(stage::updates().isStarted);
    std::vector<bool> seen;
    const auto subscription =
        controller->updater().observeCanCheckForUpdates([&](bool can) { seen.push_back(can); });
    EXPECT_EQ(seen, std::vector<bool>{false});
    controller->checkForUpdates();
    controller->updater().checkForUpdates();
    EXPECT_EQ(stage::updates().checks, 0);
}

} // namespace quoxelin::testing
