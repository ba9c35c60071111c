#include "Runner/ViewModels/UpdaterViewModel.h"

#include "Simulation/System/SimulatedUpdates.h"
#include "Tests/Support/VirtualDispatch.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

class UpdaterViewModelTest : public ::testing::Test {
  protected:
    VirtualDispatch dispatch;
    SimulatedUpdates updates{dispatch};
    std::unique_ptr<SPUStandardUpdaterController> controller =
        updates.makeStandardUpdaterController(true);
};

TEST_F(UpdaterViewModelTest, startsWithTheUpdatersState) {
    EXPECT_TRUE(UpdaterViewModel(controller->updater()).canCheckForUpdates.get());
    updates.setCanCheckForUpdates(false);
    EXPECT_FALSE(UpdaterViewModel(controller->updater()).canCheckForUpdates.get());
}

TEST_F(UpdaterViewModelTest, publishesEveryChangeBeforeAndAfter) {
    UpdaterViewModel model(controller->updater());
    std::vector<bool> before, values;
    const auto willChange =
        model.objectWillChange([&] { before.push_back(model.canCheckForUpdates); });
    const auto changes =
        model.canCheckForUpdates.subscribe([&](bool canCheck) { values.push_back(canCheck); });
    updates.setCanCheckForUpdates(false);
    updates.setCanCheckForUpdates(true);
    EXPECT_EQ(before, (std::vector{true, false}));
    EXPECT_EQ(values, (std::vector{true, false, true}));
}

TEST_F(UpdaterViewModelTest, isNotCalledAfterDestruction) {
    auto model = std::make_unique<UpdaterViewModel>(controller->updater());
    model->checkForUpdates();
    model.reset();
    updates.setCanCheckForUpdates(false);
    dispatch.advance(seconds(1));
    EXPECT_EQ(updates.checks().size(), 1u);
}

} // namespace quoxelin::testing
