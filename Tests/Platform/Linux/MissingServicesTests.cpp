// Tests/EndToEnd/test_absent_services.py has what is said of services that are missing, come and
// go.
#include "Platform/Linux/ClickWatch.h"
#include "Platform/Linux/QtStatusBar.h"
#include "Platform/Linux/Services/MissingServices.h"
#include "Tests/Platform/Linux/EventLoop.h"
#include "Tests/Platform/Linux/PrivateBus.h"

#include <algorithm>

namespace quoxelin::testing {

TEST(MissingServices, areNotReportedIfTheyAreThere) {
    const RunningBus sessionDaemon;
    RunningBus systemDaemon;
    ServedBus session(sessionDaemon.address()), system(systemDaemon.address());
    const auto answer = [](const QDBusMessage& call) { return call.createReply(); };
    const FakeService manager(systemDaemon, "org.freedesktop.NetworkManager", answer);
    const FakeService polkit(systemDaemon, "org.freedesktop.PolicyKit1", answer);
    QMenu menu;
    ClickWatch clicks;
    QtStatusBar statusBar(menu, clicks, session);
    std::vector<std::string> told;
    const MissingServices missing(session, system, statusBar,
                                  [&](const std::string& line) { told.push_back(line); });
    EXPECT_TRUE(told.empty());
    for (const auto* absent :
         {"PackageKit is not available: updates cannot be checked",
          "The notification server is not available: notifications are dropped"})
        runLoopUntil([&] { return std::count(told.begin(), told.end(), absent) == 1; });
    for (const auto& line : told)
        EXPECT_FALSE(line.starts_with("NetworkManager") || line.starts_with("polkit") ||
                     line.find(" bus ") != std::string::npos)
            << line;
}

} // namespace quoxelin::testing
