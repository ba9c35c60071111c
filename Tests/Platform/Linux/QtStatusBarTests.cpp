#include "Platform/Linux/BarColor.h"
#include "Platform/Linux/ClickWatch.h"
#include "Platform/Linux/QtStatusBar.h"
#include "Platform/Linux/ScreenGeometry.h"
#include "Tests/Platform/Linux/EventLoop.h"
#include "Tests/Platform/Linux/PrivateBus.h"

#include <QCursor>
#include <QDBusArgument>
#include <QDir>
#include <QStandardPaths>
#include <cmath>

namespace quoxelin::testing {

namespace {

const QString watcherName = "org.kde.StatusNotifierWatcher";
const QString itemInterface = "org.kde.StatusNotifierItem";
const QString menuInterface = "com.canonical.dbusmenu";

struct MenuItem {
    int id = -1;
    QVariantMap properties;
    QList<MenuItem> children;
};

const QDBusArgument& operator>>(const QDBusArgument& argument, MenuItem& item) {
    argument.beginStructure();
    argument >> item.id >> item.properties;
    argument.beginArray();
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        child.variant().value<QDBusArgument>() >> item.children.emplaceBack();
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

} // namespace

/// A simulated StatusNotifierItem tray.
class QtStatusBarTest : public ::testing::Test {
  protected:
    QtStatusBarTest() {
        menu.addAction("About_this", [this] { chosen.push_back("about"); });
        menu.addSeparator();
        menu.addAction("Quit", [this] { chosen.push_back("quit"); });
        item->button()->setTitle("Q");
        item->button()->setAction([this] { ++clicks; });
    }

    std::unique_ptr<FakeService> startTray() {
        return std::make_unique<FakeService>(
            daemon, watcherName, [](const QDBusMessage& call) { return call.createReply(); });
    }

    /// The name under which the item has registered.
    static QString registration(const FakeService& tray) {
        const QString method = "RegisterStatusNotifierItem";
        runLoopUntil([&] { return !tray.calls(method).empty(); });
        EXPECT_EQ(tray.calls(method).size(), 1u);
        return tray.calls(method).front().arguments().value(0).toString();
    }

    QVariantList call(const QString& service, const QString& path, const QString& interface,
                      const QString& method, const QVariantList& arguments) {
        auto message = QDBusMessage::createMethodCall(service, path, interface, method);
        message.setArguments(arguments);
        const auto pending = desktop.asyncCall(message);
        pollUntil([&] { return pending.isFinished(); });
        EXPECT_EQ(pending.reply().errorMessage(), "") << method.toStdString();
        return pending.reply().arguments();
    }

    QVariantMap properties(const QString& service, const QString& path, const QString& interface) {
        return qdbus_cast<QVariantMap>(
            call(service, path, "org.freedesktop.DBus.Properties", "GetAll", {interface}).value(0));
    }

    RunningBus daemon;
    ServedBus bus{daemon.address()};
    QDBusConnection desktop = daemon.connect();
    QMenu menu;
    ClickWatch watch;
    QtStatusBar bar{menu, watch, bus};
    std::unique_ptr<NSStatusItem> item = bar.statusItemWithLength(NSSquareStatusItemLength);
    std::vector<std::string> chosen;
    int clicks = 0;
};

TEST_F(QtStatusBarTest, registersWithEveryTrayThatAppears) {
    int changes = 0;
    const auto observation = bar.observeTray([&] { ++changes; });
    for (int round = 0; round < 2; ++round) {
        auto tray = startTray();
        EXPECT_EQ(registration(*tray).toStdString(), bus.uniqueName());
        EXPECT_TRUE(bar.hasTray());
        tray.reset();
        runLoopUntil([&] { return !bar.hasTray(); });
    }
    EXPECT_GE(changes, 4);
}

TEST_F(QtStatusBarTest, showsItsIconAndTakesAClick) {
    const auto tray = startTray();
    const auto service = registration(*tray);
    const auto shown = properties(service, "/StatusNotifierItem", itemInterface);
    EXPECT_EQ(shown.value("Id"), "quoxelin-desktop");
    EXPECT_EQ(shown.value("Title"), "Quoxelin");
    EXPECT_EQ(shown.value("Status"), "Active");
    EXPECT_EQ(shown.value("IconName"), "");
    EXPECT_EQ(shown.value("ItemIsMenu"), false);
    const auto pictures = shown.value("IconPixmap").value<QDBusArgument>();
    int width = 0, height = 0;
    QByteArray pixels;
    pictures.beginArray();
    pictures.beginStructure();
    pictures >> width >> height >> pixels;
    EXPECT_EQ(width, height);
    EXPECT_EQ(pixels.size(), 4 * width * height);
    EXPECT_TRUE(std::any_of(pixels.begin(), pixels.end(), [](char byte) { return byte != 0; }));
    call(service, "/StatusNotifierItem", itemInterface, "Activate", {1, 1});
    EXPECT_EQ(clicks, 1);
    call(service, "/StatusNotifierItem", itemInterface, "Scroll", {1, "vertical"});
    call(service, "/StatusNotifierItem", itemInterface, "SecondaryActivate", {1, 1});
    EXPECT_EQ(clicks, 1);
}

TEST_F(QtStatusBarTest, offersItsMenu) {
    const auto tray = startTray();
    const auto service = registration(*tray);
    const auto path = properties(service, "/StatusNotifierItem", itemInterface)
                          .value("Menu")
                          .value<QDBusObjectPath>()
                          .path();
    const auto layout = call(service, path, menuInterface, "GetLayout", {0, -1, QStringList()});
    MenuItem root;
    layout.value(1).value<QDBusArgument>() >> root;
    ASSERT_EQ(root.children.size(), 3);
    EXPECT_EQ(root.children[0].properties.value("label"), "About__this");
    EXPECT_EQ(root.children[1].properties.value("type"), "separator");
    EXPECT_EQ(root.children[2].properties.value("label"), "Quit");
    const auto press = [&](int id) {
        call(service, path, menuInterface, "Event",
             {id, "clicked", QVariant::fromValue(QDBusVariant(0)), 0u});
    };
    press(root.children[2].id);
    press(root.children[1].id);
    press(99);
    press(root.children[0].id);
    runLoopUntil([&] { return chosen.size() >= 2; });
    EXPECT_EQ(chosen, (std::vector<std::string>{"quit", "about"}));
}

TEST_F(QtStatusBarTest, isWhereItWasLastClickedOrInTheTraysCornerButNeverAtThePointer) {
    const auto tray = startTray();
    const auto service = registration(*tray);
    const auto click = [&](int x, int y) {
        call(service, "/StatusNotifierItem", itemInterface, "Activate", {x, y});
    };
    const auto isAt = [&](const QPoint& place) {
        EXPECT_EQ(item->button()->frameOnScreen(), fromScreen(QRect(place, QSize(1, 1))));
    };
    QCursor::setPos(300, 200);
    isAt(trayCorner());
    click(0, 15);
    isAt(trayCorner());
    click(302, 201);
    isAt({302, 201});
    QCursor::setPos(10, 500);
    isAt({302, 201});
}

TEST_F(QtStatusBarTest, tellsTheStateInItsToolTip) {
    const auto tray = startTray();
    const auto service = registration(*tray);
    const auto shownToolTip = [&] {
        const auto tip = properties(service, "/StatusNotifierItem", itemInterface)
                             .value("ToolTip")
                             .value<QDBusArgument>();
        QString icon, title, text;
        tip.beginStructure();
        tip >> icon;
        tip.beginArray();
        tip.endArray();
        tip >> title >> text;
        tip.endStructure();
        return title.toStdString() + text.toStdString();
    };
    EXPECT_EQ(shownToolTip(), "");
    item->button()->setToolTip("Quoxelin: Connected");
    EXPECT_EQ(shownToolTip(), "Quoxelin: Connected");
}

TEST_F(QtStatusBarTest, drawsItsIconOnceHoweverOftenTheSameOneIsSet) {
    const auto tray = startTray();
    registration(*tray);
    ServedBus listener(daemon.address());
    std::vector<std::string> signals;
    const auto observation =
        listener.match("type='signal',interface='org.kde.StatusNotifierItem'", [&](auto* message) {
            signals.emplace_back(sd_bus_message_get_member(message));
        });
    item->button()->setToolTip("before");
    runLoopUntil([&] { return !signals.empty(); });
    signals.clear();
    for (int click = 0; click < 2; ++click) {
        item->button()->setImage(bar.imageNamed("menu_icon"));
        item->button()->setTitle("Q");
    }
    item->button()->setTitle("QX");
    item->button()->setToolTip("after");
    runLoopUntil([&] { return !signals.empty() && signals.back() == "NewToolTip"; });
    EXPECT_EQ(signals, (std::vector<std::string>{"NewIcon", "NewIcon", "NewToolTip"}));
}

/// The icon that an installation has, in this test's private directory.
TEST_F(QtStatusBarTest, givesTheNameOfItsInstalledIconSoThatTraysRecolorIt) {
    const QDir data(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
    const QString folder = "icons/hicolor/symbolic/apps/", name = "com.quoxelin.desktop-symbolic";
    ASSERT_TRUE(data.mkpath(folder));
    QFile file(data.filePath(folder + name + ".svg"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    const auto tray = startTray();
    const auto service = registration(*tray);
    const auto shownName = [&] {
        return properties(service, "/StatusNotifierItem", itemInterface).value("IconName");
    };
    EXPECT_EQ(shownName(), "") << "a text in place of the icon";
    item->button()->setImage(bar.imageNamed("menu_icon"));
    EXPECT_EQ(shownName(), name);
    file.remove();
}

/// The gray that a tray draws which takes pixels, or an icon as it is.
TEST_F(QtStatusBarTest, hasAColorThatCanBeSeenOnDarkAndOnLightBars) {
    const auto luminance = [](double brightness) { return std::pow(brightness / 255, 2.2); };
    const double icon = luminance(qGray(colorForIconAt({}).rgb()));
    const double black = 0, white = 1;
    EXPECT_GE((icon + 0.05) / (black + 0.05), 3);
    EXPECT_GE((white + 0.05) / (icon + 0.05), 3);
}

TEST(QtStatusBar, canBeClickedWithoutATray) {
    Bus noBus("");
    QMenu menu;
    ClickWatch clicks;
    QtStatusBar statusBar(menu, clicks, noBus);
    statusBar.click();
    int pressed = 0;
    {
        const auto item = statusBar.statusItemWithLength(NSSquareStatusItemLength);
        item->button()->setAction([&] { ++pressed; });
        statusBar.click();
    }
    statusBar.click();
    EXPECT_EQ(pressed, 1);
}

} // namespace quoxelin::testing
