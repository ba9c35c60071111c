#include "Platform/macOS/MacDesktop.h"
#include "Simulation/Desktop/macOS/MacScreen.h"
#include "Tests/Platform/macOS/PanelOnScreen.h"
#include "Tests/Platform/macOS/Rows.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

ViewNode text(const std::string& words) {
    ViewNode node;
    node.kind = ViewNode::Kind::text;
    node.text = words;
    return node;
}

/// A panel on the screen. Its rows count how often they are pressed.
class MacScreenTest : public ::testing::Test {
  protected:
    MacScreenTest() {
        onScreen.panel->makeKeyAndOrderFront();
        EXPECT_TRUE(comesTrue([&] { return screen.panel().has_value(); }));
    }

    ViewNode tree() {
        auto disabled = row("Check for Updates...", [this] { ++presses; });
        disabled.disabled = true;
        ViewNode column;
        column.width = 260;
        column.children = {text("Signed in"), row("Connect", [this] { ++presses; }), disabled};
        return column;
    }

    int presses = 0;
    MacDesktop desktop{LaunchOptions{}};
    MacScreen screen{desktop};
    PanelOnScreen onScreen{desktop.panels, tree()};
};

} // namespace

TEST_F(MacScreenTest, readsTheTextsFromTopToBottom) {
    EXPECT_EQ(screen.texts(),
              (std::vector<std::string>{"Signed in", "Connect", "Check for Updates..."}));
    onScreen.panel->orderOut();
    EXPECT_TRUE(screen.texts().empty());
}

TEST_F(MacScreenTest, readsAValueWithoutTheLineBreaksOfTheScreen) {
    auto value = row("Copy Email", [] {});
    value.children = {text("Email: a.rather.long.name@a-long-domain.example")};
    value.children[0].truncation = Truncation::middle;
    ViewNode column;
    column.width = 260;
    column.children = {value};
    onScreen.hosting->setRootView(column);
    ASSERT_TRUE(comesTrue([&] {
        const auto place = screen.placeOf("Copy Email");
        return place && place->height > 40;
    })) << "two lines";
    EXPECT_EQ(screen.texts(), std::vector<std::string>{value.children[0].text});
}

TEST_F(MacScreenTest, pressesRowsAndButtons) {
    EXPECT_EQ(screen.press("Connect"), SteeredScreen::Press::done);
    EXPECT_EQ(presses, 1);
    EXPECT_EQ(screen.press("Check for Updates..."), SteeredScreen::Press::disabled);
    EXPECT_EQ(screen.press("Disconnect"), SteeredScreen::Press::absent);
    EXPECT_EQ(presses, 1);
}

TEST_F(MacScreenTest, reportsThePlaceOfARowInThePanel) {
    const auto panel = screen.panel();
    const auto place = screen.placeOf("Connect");
    ASSERT_TRUE(panel && place);
    EXPECT_EQ(place->width, 260);
    EXPECT_GT(place->y, panel->y);
    EXPECT_LT(place->y + place->height, panel->y + panel->height);
}

TEST_F(MacScreenTest, savesAPictureOfThePanel) {
    const TemporaryDirectory directory;
    const auto file = directory.path() / "panel.png";
    ASSERT_EQ(screen.savePicture(file), SteeredScreen::Picture::saved);
    NSBitmapImageRep* const picture =
        [NSBitmapImageRep imageRepWithData:[NSData dataWithContentsOfFile:@(file.c_str())]];
    NSMutableSet<NSColor*>* const colors = [NSMutableSet set];
    for (NSInteger y = 0; y < picture.pixelsHigh; ++y)
        [colors addObject:[picture colorAtX:picture.pixelsWide / 10 y:y]];
    EXPECT_GT(colors.count, 2u);
    EXPECT_EQ(screen.savePicture(directory.path() / "nowhere" / "panel.png"),
              SteeredScreen::Picture::failed);
    onScreen.panel->orderOut();
    EXPECT_EQ(screen.savePicture(file), SteeredScreen::Picture::empty);
}

TEST_F(MacScreenTest, simulatesAPressElsewhere) {
    int left = 0, right = 0;
    const auto onLeft =
        desktop.panels.addGlobalMonitorForEvents(NSEventMaskLeftMouseDown, [&] { ++left; });
    {
        const auto onRight =
            desktop.panels.addGlobalMonitorForEvents(NSEventMaskRightMouseDown, [&] { ++right; });
        screen.pressElsewhere();
    }
    EXPECT_EQ(left, 1);
    EXPECT_EQ(right, 0);
}

} // namespace quoxelin::testing
