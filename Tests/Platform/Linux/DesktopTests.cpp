#include "Platform/Linux/CallbackUrls.h"
#include "Platform/Linux/ClickWatch.h"
#include "Platform/Linux/MainMenu.h"
#include "Platform/Linux/QtApplication.h"
#include "Platform/Linux/QtDispatch.h"
#include "Platform/Linux/QtPasteboard.h"
#include "Platform/Linux/QuitSignals.h"
#include "Platform/Linux/ScreenGeometry.h"
#include "Platform/Linux/TemplateImage.h"
#include "Platform/Linux/Theme.h"
#include "Tests/Platform/Linux/EventLoop.h"

#include <QAction>
#include <QClipboard>
#include <QDialog>
#include <QGuiApplication>
#include <QScreen>
#include <csignal>
#include <gtest/gtest.h>

namespace quoxelin::testing {

TEST(QuitSignals, quitOnceForSignalsThatArriveTogether) {
    int quits = 0;
    const QuitSignals quitSignals([&] { ++quits; });
    for (int i = 0; i < 1000; ++i)
        std::raise(SIGTERM);
    runLoopUntil([&] { return quits > 0; });
    runLoopUntilIdle();
    EXPECT_EQ(quits, 1);
}

namespace {

struct RecordingDelegate final : NSApplicationDelegate {
    explicit RecordingDelegate(std::function<void()> launched) : launched(std::move(launched)) {}
    void applicationDidFinishLaunching() override {
        told += "launched ";
        launched();
    }
    void applicationWillTerminate() override { told += "terminating"; }

    std::function<void()> launched;
    std::string told;
};

} // namespace

TEST(QtApplication, reportsLaunchAndTerminationAroundItsLoop) {
    NotificationCenter notificationCenter;
    QtApplication application(notificationCenter);
    RecordingDelegate delegate([&] {
        application.terminate();
        application.terminate();
        delegate.told += "(still running) ";
    });
    EXPECT_EQ(application.run(delegate), 0);
    EXPECT_EQ(delegate.told, "launched (still running) terminating");
}

TEST(CallbackUrls, keepsEventsUntilThereIsAHandler) {
    QtDispatch dispatch;
    CallbackUrls manager(dispatch.main());
    std::vector<std::optional<std::string>> received;
    manager.send("quoxelin://login?token=t");
    runLoopUntilIdle();
    manager.setEventHandler("other", kAEGetURL, [](auto) { FAIL(); });
    runLoopUntilIdle();
    manager.setEventHandler(kInternetEventClass, kAEGetURL,
                            [&](auto url) { received.push_back(url); });
    EXPECT_TRUE(received.empty()) << "the launch is not over yet";
    manager.send(std::nullopt);
    runLoopUntil([&] { return received.size() == 2; });
    EXPECT_EQ(received[0], "quoxelin://login?token=t");
    EXPECT_FALSE(received[1]);
    manager.send("quoxelin://again");
    runLoopUntil([&] { return received.size() == 3; });
}

TEST(MainMenu, bindsTheItemsThatExistOnThisDesktop) {
    NotificationCenter notificationCenter;
    QtApplication application(notificationCenter);
    int checks = 0, openings = 0;
    application.setOpening([&] { ++openings; });
    NSMenuItem about, check, separator, hideOthers, quit;
    about.title = "About Quoxelin";
    about.action = "orderFrontStandardAboutPanel:";
    check.title = "Check for Updates...";
    check.target = [&] { ++checks; };
    hideOthers.title = "Hide Others";
    hideOthers.action = "hideOtherApplications:";
    hideOthers.keyEquivalent = "h";
    quit.title = "Quit Quoxelin";
    quit.action = "terminate:";
    quit.keyEquivalent = "q";
    application.setMainMenu({about, check, separator, hideOthers, quit});
    QStringList titles;
    for (const auto* action : application.mainMenu().actions())
        titles.append(action->isSeparator() ? "-" : action->text() + action->shortcut().toString());
    EXPECT_EQ(titles.join("|").toStdString(),
              "Open Quoxelin|-|About Quoxelin|Check for Updates...|-|Quit Quoxelin");
    application.mainMenu().actions()[3]->trigger();
    EXPECT_EQ(checks, 1);
    application.mainMenu().actions()[0]->trigger();
    EXPECT_EQ(openings, 1);
}

TEST(QtPasteboard, putsTextOnTheClipboard) {
    QtPasteboard pasteboard;
    pasteboard.clearContents();
    pasteboard.setString("fd7a::1 日本");
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), "fd7a::1 日本");
    pasteboard.clearContents();
    EXPECT_TRUE(QGuiApplication::clipboard()->text().isEmpty());
}

TEST(ClickWatch, notifiesTheMonitorsOfThatButton) {
    ClickWatch clicks;
    int left = 0, right = 0;
    auto leftMonitor = clicks.add(NSEventMaskLeftMouseDown, [&] { ++left; });
    const auto rightMonitor = clicks.add(NSEventMaskRightMouseDown, [&] { ++right; });
    clicks.pressElsewhere();
    EXPECT_EQ(left, 1);
    EXPECT_EQ(right, 0);
    leftMonitor.cancel();
    clicks.pressElsewhere();
    EXPECT_EQ(left, 1);
}

TEST(ClickWatch, countsAnOrdinaryWindowOfOursThatOpensAsAPressElsewhere) {
    ClickWatch clicks;
    int left = 0;
    const auto monitor = clicks.add(NSEventMaskLeftMouseDown, [&] { ++left; });
    QWidget panel(nullptr, Qt::Tool);
    QDialog alert(&panel);
    panel.show();
    alert.show();
    EXPECT_EQ(left, 0) << "what belongs to the panel does not hide it";
    QDialog chooser;
    chooser.show();
    EXPECT_EQ(left, 1);
}

TEST(ScreenGeometry, invertsTheVerticalAxis) {
    const auto height = QGuiApplication::primaryScreen()->geometry().height();
    const QRect onScreen(10, 20, 300, 100);
    const auto ours = fromScreen(onScreen);
    EXPECT_EQ(ours, (NSRect{10, height - 120.0, 300, 100}));
    EXPECT_EQ(topLeftOnScreen(ours.x, ours.y, 100), onScreen.topLeft());
}

TEST(ScreenGeometry, movesAWindowWhollyOntoTheScreen) {
    const auto screen = QGuiApplication::primaryScreen()->availableGeometry();
    for (const QPoint corner : {QPoint(-100, -100), QPoint(100000, 5), QPoint(5, 100000)}) {
        const auto moved = movedOntoScreen(QRect(corner, QSize(272, 300)), corner);
        EXPECT_TRUE(screen.adjusted(5, 5, -5, -5).contains(moved));
        EXPECT_EQ(moved.size(), QSize(272, 300));
    }
    const QRect fitting(screen.topLeft() + QPoint(7, 9), QSize(20, 20));
    EXPECT_EQ(movedOntoScreen(fitting, fitting.center()), fitting);
}

TEST(ScreenGeometry, showsTheUpperLeftOfWhatIsLargerThanTheScreen) {
    const auto screen = QGuiApplication::primaryScreen()->availableGeometry();
    const auto moved = movedOntoScreen(QRect(50, 50, 100000, 100000), QPoint(50, 50));
    EXPECT_EQ(moved.topLeft(), screen.topLeft() + QPoint(5, 5));
}

TEST(TemplateImage, isDrawnInTheDesktopsColorInEverySize) {
    const auto image = TemplateImage::named("menu_icon");
    ASSERT_NE(image, nullptr);
    image->setTemplate(true);
    image->setSize({18, 18});
    for (const int side : {18, 36}) {
        const auto picture = image->icon(Qt::red).pixmap(side, side).toImage();
        ASSERT_EQ(picture.size(), QSize(side, side));
        int opaque = 0;
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x)
                if (const auto pixel = picture.pixelColor(x, y); pixel.alpha() == 255) {
                    ++opaque;
                    EXPECT_EQ(pixel, QColor(Qt::red));
                }
        EXPECT_GT(opaque, side * side / 10);
        EXPECT_LT(opaque, side * side / 2);
    }
}

TEST(TemplateImage, isMissingWithoutSuchAnAsset) {
    EXPECT_EQ(TemplateImage::named("no_such_icon"), nullptr);
}

TEST(TemplateImage, isReplacedByLegibleText) {
    const auto picture = textIcon("QX", Qt::black).pixmap(18, 18).toImage();
    int dark = 0;
    for (int y = 0; y < 18; ++y)
        for (int x = 0; x < 18; ++x)
            dark += picture.pixelColor(x, y).alpha() > 128 ? 1 : 0;
    EXPECT_GT(dark, 30);
}

TEST(Assets, holdEverySymbolThatThePanelShows) {
    for (const char* symbol : {"checkmark", "plus", "chevron.right",
                               "exclamationmark.triangle.fill", "arrow.up.forward.square"})
        EXPECT_NE(TemplateImage::named(std::string("symbols/") + symbol), nullptr) << symbol;
}

TEST(Theme, distinguishesAllColorsAndFonts) {
    const Theme theme;
    for (const auto color :
         {Color::primary, Color::secondary, Color::gray, Color::green, Color::orange, Color::red})
        for (const double opacity : {1.0, 0.65, 0.12})
            EXPECT_EQ(theme.recordOf(theme.color(color, opacity)), std::pair(color, opacity));
    EXPECT_EQ(theme.recordOf(QColor(1, 2, 3)), std::nullopt);
    for (const auto font : {Font::headline, Font::subheadline, Font::body, Font::callout,
                            Font::footnote, Font::caption})
        for (const auto weight : {FontWeight::regular, FontWeight::semibold})
            EXPECT_EQ(Theme::recordOf(Theme::font(font, weight)), std::pair(font, weight));
}

} // namespace quoxelin::testing
