#include "Runner/Views/HostingController.h"

#include "Base/Published.h"
#include "Runner/Views/MenuBar.h"
#include "Simulation/System/SimulatedPanels.h"
#include "Tests/Support/PanelScene.h"
#include "View/ViewBuilders.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

struct Model : ObservableObject {
    Published<int> number{*this, 0};
};

/// A view that shows the model's number.
AnyView viewOf(Model& model) {
    return {
        [&model] { return view::text(std::to_string(model.number), Font::body); },
        [&model](const std::function<void()>& observer) {
            std::vector<Subscription> tokens;
            tokens.push_back(model.objectWillChange(observer));
            return tokens;
        },
    };
}

/// A renderer that runs a function while it draws.
struct MeddlingView final : NSHostingView {
    void setRootView(const ViewNode& tree) override {
        drawn.push_back(tree.text);
        if (meddle)
            meddle();
    }
    std::function<void()> meddle;
    std::vector<std::string> drawn;
};

} // namespace

class HostingControllerTests : public ::testing::Test {
  protected:
    VirtualDispatch dispatch;
    Model model;
    std::shared_ptr<SimulatedPanels::HostingView> screen =
        std::make_shared<SimulatedPanels::HostingView>();
    std::unique_ptr<HostingController> controller =
        std::make_unique<HostingController>(dispatch.main(), screen, viewOf(model));
};

TEST_F(HostingControllerTests, showsTheViewAtOnce) {
    EXPECT_EQ(screen->updates, 1);
    EXPECT_EQ(screen->tree->text, "0");
    dispatch.runUntilIdle();
    EXPECT_EQ(screen->updates, 1);
}

TEST_F(HostingControllerTests, makesOneTreeOfManyChangesOnTheNextTurn) {
    model.number = 1;
    model.number = 2;
    EXPECT_EQ(screen->updates, 1);
    dispatch.runUntilIdle();
    EXPECT_EQ(screen->updates, 2);
    EXPECT_EQ(screen->tree->text, "2");
    model.number = 3;
    dispatch.runUntilIdle();
    EXPECT_EQ(screen->updates, 3);
    EXPECT_EQ(screen->tree->text, "3");
}

TEST_F(HostingControllerTests, showsAChangeCausedByDrawing) {
    const auto meddling = std::make_shared<MeddlingView>();
    const HostingController other(dispatch.main(), meddling, viewOf(model));
    meddling->meddle = [&] {
        if (model.number.get() < 3)
            model.number = model.number + 1;
    };
    model.number = 1;
    dispatch.runUntilIdle();
    EXPECT_EQ(meddling->drawn, (std::vector<std::string>{"0", "1", "2", "3"}));
}

TEST_F(HostingControllerTests, showsAChangeCausedByTheFirstDrawing) {
    const auto meddling = std::make_shared<MeddlingView>();
    meddling->meddle = [&] {
        if (model.number.get() < 1)
            model.number = 1;
    };
    const HostingController other(dispatch.main(), meddling, viewOf(model));
    dispatch.runUntilIdle();
    EXPECT_EQ(meddling->drawn, (std::vector<std::string>{"0", "1"}));
}

TEST_F(HostingControllerTests, drawsNothingAfterDestruction) {
    model.number = 1;
    controller.reset();
    model.number = 2;
    dispatch.runUntilIdle();
    EXPECT_EQ(screen->updates, 1);
}

class MenuBarTests : public ::testing::Test, protected PanelScene {};

TEST_F(MenuBarTests, isShownAgainWhenAnyObjectThatItShowsChanges) {
    const MenuBar menuBar({dispatch, logger, localAPI, system.workspace, system.pasteboard,
                           system.openPanel, system.mainBundle, system.processInfo,
                           system.userNotificationCenter, system.application},
                          appState, updaterVM, systemExtension);
    const auto screen = std::make_shared<SimulatedPanels::HostingView>();
    const HostingController controller(dispatch.main(), screen, menuBar.erased());
    ASSERT_EQ(screen->updates, 1);

    const std::vector<std::function<void()>> changes{
        [&] { appState->helperNeedsApproval = true; },
        [&] { updaterVM->canCheckForUpdates = false; },
        [&] { systemExtension->isApproved = true; },
        [&] { menuBar.content->isHoveringQuit = true; },
    };
    int expected = 1;
    for (const auto& change : changes) {
        change();
        dispatch.runUntilIdle();
        EXPECT_EQ(screen->updates, ++expected);
    }
    for (const auto& change : changes)
        change();
    dispatch.runUntilIdle();
    EXPECT_EQ(screen->updates, ++expected);
}

} // namespace quoxelin::testing
