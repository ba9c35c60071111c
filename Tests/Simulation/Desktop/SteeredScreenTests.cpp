#include "Simulation/Desktop/SteeredScreen.h"

#include "Base/UnixSocket.h"
#include "Simulation/Steering/Steering.h"
#include "Simulation/System/SimulatedSystem.h"
#include "Tests/Support/VirtualDispatch.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

/// Records all calls.
struct NotedScreen final : SteeredScreen {
    std::vector<std::string> texts() const override { return shown; }
    Press press(const std::string& label) override {
        done += "press " + label + "; ";
        return outcome;
    }
    std::optional<NSRect> placeOf(const std::string&) const override { return place; }
    std::optional<NSRect> panel() const override { return place; }
    Picture savePicture(const std::string& path) const override {
        done += "picture " + path + "; ";
        return picture;
    }
    void pressElsewhere() override { done += "elsewhere; "; }

    std::vector<std::string> shown;
    std::optional<NSRect> place;
    Press outcome = Press::done;
    Picture picture = Picture::saved;
    mutable std::string done;
};

} // namespace

class SteeredScreenTest : public ::testing::Test {
  protected:
    SteeredScreenTest() { addScreenCommands(steering, screen, platform); }

    std::string answerTo(std::string_view line) {
        answer.clear();
        steering.take(line);
        return answer;
    }

    VirtualDispatch dispatch;
    NotificationCenter notificationCenter;
    SimulatedSystem system{dispatch, notificationCenter};
    UnixSocketConnector connector;
    Platform platform = system.platform(connector);
    NotedScreen screen;
    std::string answer;
    Steering steering{[](Duration, const Work&) {},
                      [this](const std::string& line) { answer = line; }};
};

TEST_F(SteeredScreenTest, reportsTheTexts) {
    screen.shown = {"Connected", "100.64.0.4"};
    EXPECT_EQ(answerTo(R"({"do":"text"})"),
              R"({"ok":true,"do":"text","texts":["Connected","100.64.0.4"]})");
}

TEST_F(SteeredScreenTest, pressesByLabelAndReportsWhyItCannot) {
    const auto* const press = R"({"do":"press","label":"Connect"})";
    EXPECT_EQ(answerTo(press), R"({"ok":true,"do":"press"})");
    screen.outcome = SteeredScreen::Press::absent;
    EXPECT_EQ(answerTo(press),
              R"({"ok":false,"do":"press","error":"nothing of that label is on the screen"})");
    screen.outcome = SteeredScreen::Press::disabled;
    EXPECT_EQ(answerTo(press),
              R"({"ok":false,"do":"press","error":"what bears that label cannot be pressed"})");
    EXPECT_EQ(answerTo(R"({"do":"press"})"),
              R"({"ok":false,"do":"press","error":"\"label\" is missing"})");
    EXPECT_EQ(screen.done, "press Connect; press Connect; press Connect; ");
}

TEST_F(SteeredScreenTest, reportsPlacesInWholeUnitsFromTheUpperLeft) {
    const auto* const where = R"({"do":"where","label":"Connect"})";
    EXPECT_EQ(answerTo(where),
              R"({"ok":false,"do":"where","error":"nothing of that label is on the screen"})");
    screen.place = NSRect{-0.4, 31.5, 260, 29.6};
    EXPECT_EQ(answerTo(where), R"({"ok":true,"do":"where","x":0,"y":32,"width":260,"height":30})");
}

TEST_F(SteeredScreenTest, reportsWhetherAndWhereThePanelIsShown) {
    EXPECT_EQ(answerTo(R"({"do":"panel"})"), R"({"ok":true,"do":"panel","visible":false})");
    screen.place = NSRect{10, 20, 260, 300};
    EXPECT_EQ(answerTo(R"({"do":"panel"})"),
              R"({"ok":true,"do":"panel","visible":true,"x":10,"y":20,"width":260,"height":300})");
    EXPECT_EQ(answerTo(R"({"do":"wait","panel-visible":1})"), R"({"ok":true,"do":"wait"})");
}

TEST_F(SteeredScreenTest, savesPicturesAndReportsWhyItCannot) {
    const auto* const snapshot = R"({"do":"snapshot","path":"/tmp/a.png"})";
    EXPECT_EQ(answerTo(snapshot), R"({"ok":true,"do":"snapshot"})");
    screen.picture = SteeredScreen::Picture::empty;
    EXPECT_EQ(answerTo(snapshot),
              R"({"ok":false,"do":"snapshot","error":"nothing is on the screen"})");
    screen.picture = SteeredScreen::Picture::failed;
    EXPECT_EQ(answerTo(snapshot),
              R"({"ok":false,"do":"snapshot","error":"the picture could not be written"})");
}

TEST_F(SteeredScreenTest, simulatesTheUserOutsideTheWindows) {
    int activations = 0;
    const auto observer = notificationCenter.addObserver(
        NSApplicationDidBecomeActiveNotification, [&](const Notification&) { ++activations; });
    answerTo(R"({"do":"click-elsewhere"})");
    answerTo(R"({"do":"become-active"})");
    EXPECT_EQ(screen.done, "elsewhere; ");
    EXPECT_EQ(activations, 1);
    EXPECT_FALSE(system.application.isTerminating());
    answerTo(R"({"do":"quit"})");
    EXPECT_TRUE(system.application.isTerminating() || system.application.hasTerminated());
}

} // namespace quoxelin::testing
