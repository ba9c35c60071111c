#pragma once

#include "Runner/AppDelegate.h"
#include "Tests/Support/AppFixture.h"

#include <gmock/gmock.h>
#include <memory>

namespace quoxelin::testing {

/// The application's delegate on a simulated machine, before its launch. By default the helper
/// answers and the system extension is activated.
class AppDelegateFixture : public AppTest {
  protected:
    AppDelegateFixture() {
        run();
        forget();
        delegate = makeDelegate();
    }

    std::shared_ptr<AppDelegate> makeDelegate() {
        return AppDelegate::make({platform, logger, localAPI, *tunnel, systemExtension, appState});
    }

    void launch() { system.application.launch(*delegate); }

    SimulatedServiceManagement::Registration& helper() {
        return system.serviceManagement.daemonRegistration("com.quoxelin.desktop.helper.plist");
    }

    SimulatedServiceManagement::Registration& loginItem() {
        return system.serviceManagement.mainAppRegistration();
    }

    bool hasStartedAppState() const { return count("start() called") > 0; }

    SimulatedPanels::Panel& panel() { return *system.panels.panel(); }

    std::shared_ptr<AppDelegate> delegate;
};

} // namespace quoxelin::testing
