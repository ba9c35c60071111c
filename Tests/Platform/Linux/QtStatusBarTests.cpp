#include "Platform/Linux/ClickWatch.h"
#include "Platform/Linux/QtStatusBar.h"
#include "Tests/Platform/Linux/EventLoop.h"
#include "Tests/Platform/Linux/PrivateBus.h"

#include <QDBusArgument>

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
        menu.addAction("Quit", [this] { chosen.push_back("quit"); })->setShortcut({"Ctrl+Q"});
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
    EXPECT_EQ(qdbus_cast<QList<QStringList>>(root.children[2].properties.value("shortcut")),
              (QList<QStringList>{{"Control", "Q"}}));
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
