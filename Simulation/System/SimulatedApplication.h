#pragma once

#include "Base/Dispatch.h"
#include "Base/Lifetime.h"
#include "Base/NotificationCenter.h"
#include "Platform/NSApplication.h"

#include <algorithm>

namespace quoxelin {

/// A running application without a screen. Main thread only.
///
/// The owner of the main loop either calls `launch` and runs the loop, or sets `runLoop` and lets
/// `run` do both.
class SimulatedApplication final : public NSApplication {
  public:
    SimulatedApplication(Dispatch& dispatch, NotificationCenter& notificationCenter)
        : dispatch(dispatch), notificationCenter(notificationCenter) {}

    /// One turn of the main loop, which `run` repeats until the application has terminated.
    std::function<void()> runLoop;

    int run(NSApplicationDelegate& newDelegate) override {
        launch(newDelegate);
        while (!terminated && runLoop)
            runLoop();
        return 0;
    }
    void terminate() override {
        if (terminating)
            return;
        terminating = true;
        dispatch.main().async(lifetime.weakly([this] {
            if (delegate != nullptr)
                delegate->applicationWillTerminate();
            terminated = true;
        }));
    }
    void activateIgnoringOtherApps() override {
        ++activated;
        if (!active)
            dispatch.main().async(lifetime.weakly([this] { becomeActive(); }));
    }
    void setMainMenu(const std::vector<NSMenuItem>& submenu) override { menu = submenu; }

    /// Tells the delegate that launching has finished; on quitting, that the application
    /// terminates.
    void launch(NSApplicationDelegate& newDelegate) {
        delegate = &newDelegate;
        delegate->applicationDidFinishLaunching();
    }

    /// The application becomes active, through the user or by itself.
    void becomeActive() {
        active = true;
        notificationCenter.post(NSApplicationDidBecomeActiveNotification);
    }
    void resignActive() { active = false; }
    bool isActive() const { return active; }

    bool isTerminating() const { return terminating; }
    bool hasTerminated() const { return terminated; }
    int activations() const { return activated; }

    const std::vector<NSMenuItem>& mainMenu() const { return menu; }

    /// Chooses the first item with that title; false if there is none. "terminate:" ends the
    /// application; other standard actions are only recorded.
    bool chooseMenuItem(const std::string& title) {
        const auto found = std::find_if(menu.begin(), menu.end(),
                                        [&](const auto& item) { return item.title == title; });
        if (found == menu.end())
            return false;
        const auto item = *found;
        if (item.target)
            item.target();
        else if (item.action == "terminate:")
            terminate();
        else
            performed.push_back(item.action);
        return true;
    }
    const std::vector<std::string>& performedActions() const { return performed; }

  private:
    Dispatch& dispatch;
    NotificationCenter& notificationCenter;
    NSApplicationDelegate* delegate = nullptr;
    bool active = false;
    bool terminating = false;
    bool terminated = false;
    int activated = 0;
    std::vector<NSMenuItem> menu;
    std::vector<std::string> performed;
    Lifetime lifetime;
};

} // namespace quoxelin
