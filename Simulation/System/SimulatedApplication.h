#pragma once

#include "Base/Dispatch.h"
#include "Base/Lifetime.h"
#include "Base/NotificationCenter.h"
#include "Platform/NSApplication.h"

#include <algorithm>

namespace quoxelin {

/// A running application without a screen. Its owner runs the main loop. Main thread only.
class SimulatedApplication final : public NSApplication {
  public:
    SimulatedApplication(Dispatch& dispatch, NotificationCenter& notificationCenter)
        : dispatch(dispatch), notificationCenter(notificationCenter) {}

    int run(NSApplicationDelegate& newDelegate) override {
        launch(newDelegate);
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

    bool isTerminating() const { return terminating; }
    bool hasTerminated() const { return terminated; }
    int activations() const { return activated; }

    const std::vector<NSMenuItem>& mainMenu() const { return menu; }

    /// Chooses the first item with that title; false if there is none. Of the standard actions only
    /// "terminate:" has an effect.
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
        return true;
    }

  private:
    Dispatch& dispatch;
    NotificationCenter& notificationCenter;
    NSApplicationDelegate* delegate = nullptr;
    bool active = false;
    bool terminating = false;
    bool terminated = false;
    int activated = 0;
    std::vector<NSMenuItem> menu;
    Lifetime lifetime;
};

} // namespace quoxelin
