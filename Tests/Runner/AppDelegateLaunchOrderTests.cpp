#include "Tests/Runner/AppDelegateFixture.h"

namespace quoxelin::testing {

using ::testing::ElementsAre;

namespace {

using Notes = std::vector<std::string>;

// Each passes the call that launching makes on to the simulated system, and notes it first.

struct NotedUpdates final : Updates {
    NotedUpdates(Updates& real, Notes& notes) : real(real), notes(notes) {}
    std::unique_ptr<SPUStandardUpdaterController>
    makeStandardUpdaterController(bool startingUpdater) override {
        notes.push_back("updater");
        return real.makeStandardUpdaterController(startingUpdater);
    }
    Updates& real;
    Notes& notes;
};

struct NotedCenter final : UNUserNotificationCenter {
    NotedCenter(UNUserNotificationCenter& real, Notes& notes) : real(real), notes(notes) {}
    void setDelegate(std::weak_ptr<UNUserNotificationCenterDelegate> delegate) override {
        notes.push_back("notifications' delegate");
        real.setDelegate(std::move(delegate));
    }
    void getNotificationSettings(std::function<void(UNNotificationSettings)> completion) override {
        real.getNotificationSettings(std::move(completion));
    }
    void requestAuthorization(unsigned options,
                              std::function<void(bool, std::optional<Error>)> completion) override {
        notes.push_back("authorization");
        real.requestAuthorization(options, std::move(completion));
    }
    void add(const UNNotificationRequest& request) override { real.add(request); }
    UNUserNotificationCenter& real;
    Notes& notes;
};

struct NotedStatusBar final : NSStatusBar {
    NotedStatusBar(NSStatusBar& real, Notes& notes) : real(real), notes(notes) {}
    std::unique_ptr<NSStatusItem> statusItemWithLength(double length) override {
        notes.push_back("status item");
        return real.statusItemWithLength(length);
    }
    std::shared_ptr<NSImage> imageNamed(const std::string& name) override {
        return real.imageNamed(name);
    }
    NSStatusBar& real;
    Notes& notes;
};

struct NotedPanels final : Panels {
    NotedPanels(Panels& real, Notes& notes) : real(real), notes(notes) {}
    std::unique_ptr<NSPanel> makePanel(const NSPanelOptions& options) override {
        notes.push_back("panel");
        return real.makePanel(options);
    }
    std::shared_ptr<NSHostingView> makeHostingView() override { return real.makeHostingView(); }
    Subscription addGlobalMonitorForEvents(unsigned long long mask,
                                           std::function<void()> handler) override {
        notes.push_back("click monitor");
        return real.addGlobalMonitorForEvents(mask, std::move(handler));
    }
    Panels& real;
    Notes& notes;
};

struct NotedApplication final : NSApplication {
    NotedApplication(NSApplication& real, Notes& notes) : real(real), notes(notes) {}
    int run(NSApplicationDelegate& delegate) override { return real.run(delegate); }
    void terminate() override { real.terminate(); }
    void activateIgnoringOtherApps() override { real.activateIgnoringOtherApps(); }
    void setMainMenu(const std::vector<NSMenuItem>& submenu) override {
        notes.push_back("main menu");
        real.setMainMenu(submenu);
    }
    NSApplication& real;
    Notes& notes;
};

struct NotedEvents final : NSAppleEventManager {
    NotedEvents(NSAppleEventManager& real, Notes& notes) : real(real), notes(notes) {}
    void setEventHandler(const std::string& eventClass, const std::string& eventID,
                         std::function<void(std::optional<std::string>)> handler) override {
        notes.push_back("URL handler");
        real.setEventHandler(eventClass, eventID, std::move(handler));
    }
    NSAppleEventManager& real;
    Notes& notes;
};

struct NotedServices final : ServiceManagement {
    NotedServices(ServiceManagement& real, Notes& notes) : real(real), notes(notes) {}
    std::unique_ptr<SMAppService> mainApp() override {
        notes.push_back("login item");
        return real.mainApp();
    }
    std::unique_ptr<SMAppService> daemon(const std::string& plistName) override {
        notes.push_back("helper");
        return real.daemon(plistName);
    }
    ServiceManagement& real;
    Notes& notes;
};

struct NotedXPC final : XPC {
    NotedXPC(XPC& real, Notes& notes) : real(real), notes(notes) {}
    std::shared_ptr<NSXPCConnection>
    privilegedConnection(const std::string& machServiceName) override {
        notes.push_back("ping");
        return real.privilegedConnection(machServiceName);
    }
    XPC& real;
    Notes& notes;
};

} // namespace

/// Launching is noted call by call.
class AppDelegateLaunchOrder : public AppDelegateFixture {
  protected:
    AppDelegateLaunchOrder() {
        delegate = AppDelegate::make(
            {notedPlatform, logger, localAPI, *tunnel, systemExtension, appState});
    }

    /// It refers to what is noted here.
    void TearDown() override { delegate.reset(); }

    Notes notes;
    NotedUpdates updates{platform.updates, notes};
    NotedCenter center{platform.userNotificationCenter, notes};
    NotedStatusBar statusBar{platform.statusBar, notes};
    NotedPanels panels{platform.panels, notes};
    NotedApplication application{platform.application, notes};
    NotedEvents events{platform.appleEventManager, notes};
    NotedServices services{platform.serviceManagement, notes};
    NotedXPC xpc{platform.xpc, notes};
    const Platform notedPlatform{
        .dispatch = platform.dispatch,
        .connector = platform.connector,
        .notificationCenter = platform.notificationCenter,
        .systemLog = platform.systemLog,
        .mainBundle = platform.mainBundle,
        .userDefaults = platform.userDefaults,
        .processInfo = platform.processInfo,
        .fileManager = platform.fileManager,
        .networkExtension = platform.networkExtension,
        .systemExtensionManager = platform.systemExtensionManager,
        .serviceManagement = services,
        .xpc = xpc,
        .userNotificationCenter = center,
        .updates = updates,
        .appleScript = platform.appleScript,
        .application = application,
        .statusBar = statusBar,
        .panels = panels,
        .workspace = platform.workspace,
        .pasteboard = platform.pasteboard,
        .openPanel = platform.openPanel,
        .appleEventManager = events,
    };
};

TEST_F(AppDelegateLaunchOrder, takesItsStepsOneAfterTheOther) {
    delegate->applicationDidFinishLaunching();
    EXPECT_THAT(notes, ElementsAre("updater", "notifications' delegate", "authorization",
                                   "status item", "panel", "click monitor", "main menu",
                                   "URL handler", "login item", "helper", "ping"));
}

} // namespace quoxelin::testing
