#include "Platform/Linux/ClickWatch.h"
#include "Platform/Linux/QtStatusBar.h"
#include "Platform/Linux/Services/MissingServices.h"
#include "Tests/Platform/Linux/EventLoop.h"
#include "Tests/Platform/Linux/PrivateBus.h"

#include <algorithm>

namespace quoxelin::testing {

class MissingServicesTest : public ::testing::Test {
  protected:
    void observe() {
        missing = std::make_unique<MissingServices>(
            session, system, statusBar, [this](const std::string& line) { told.push_back(line); });
        EXPECT_TRUE(told.empty());
    }

    void await(const std::string& line) {
        runLoopUntil([&] { return std::count(told.begin(), told.end(), line) == 1; });
    }

    static QDBusMessage answer(const QDBusMessage& call) { return call.createReply(); }

    PrivateBus sessionDaemon, systemDaemon;
    ServedBus session{sessionDaemon.address()};
    ServedBus system{systemDaemon.address()};
    QMenu menu;
    ClickWatch clicks;
    QtStatusBar statusBar{menu, clicks, session};
    std::vector<std::string> told;
    std::unique_ptr<MissingServices> missing;
};

TEST_F(MissingServicesTest, reportsWhatIsMissingAndWhatIsLostWithIt) {
    observe();
    runLoopUntil([&] { return told.size() == 7; });
    std::sort(told.begin(), told.end());
    EXPECT_EQ(told,
              (std::vector<std::string>{
                  "NetworkManager is not available: there can be no tunnel",
                  "PackageKit is not available: there is no looking for updates",
                  "The notification server is not available: notifications are dropped",
                  "The session bus is not available: a second start is not noticed",
                  "The system bus is not available: nothing can be asked of the system's services",
                  "The tray is not available: the icon waits for it; starting the application "
                  "again opens the panel",
                  "polkit is not available: nobody can be asked for an authorization",
              }));
}

TEST_F(MissingServicesTest, reportsNothingThatIsPresent) {
    sessionDaemon.start();
    systemDaemon.start();
    runLoopUntil([&] { return session.isConnected() && system.isConnected(); });
    const FakeService manager(systemDaemon, "org.freedesktop.NetworkManager", answer);
    const FakeService polkit(systemDaemon, "org.freedesktop.PolicyKit1", answer);
    observe();
    await("PackageKit is not available: there is no looking for updates");
    await("The notification server is not available: notifications are dropped");
    for (const auto& line : told)
        EXPECT_FALSE(line.starts_with("NetworkManager") || line.starts_with("polkit") ||
                     line.find(" bus ") != std::string::npos)
            << line;
}

TEST_F(MissingServicesTest, reportsWhenSomethingAppearsAndDisappears) {
    observe();
    await("PackageKit is not available: there is no looking for updates");
    await("NetworkManager is not available: there can be no tunnel");
    systemDaemon.start();
    await("The system bus is available");
    told.clear();
    FakeService manager(systemDaemon, "org.freedesktop.NetworkManager", answer);
    await("NetworkManager is available");
    manager.disown();
    await("NetworkManager is not available: there can be no tunnel");
    EXPECT_EQ(told.size(), 2u);
}

} // namespace quoxelin::testing
