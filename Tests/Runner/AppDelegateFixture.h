#pragma once

#include "Runner/AppDelegate.h"
#include "Tests/Support/Surroundings.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quoxelin::testing {

/// The application's delegate on a simulated machine, before its launch. By default the helper
/// answers and the system extension is activated.
class AppDelegateFixture : public ::testing::Test, protected Surroundings {
  protected:
    AppDelegateFixture() {
        dispatch.runUntilIdle();
        system.systemLog.clear();
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

    /// The log lines of one category, without its prefix.
    std::vector<std::string> log(const std::string& category) const {
        const auto prefix = "[" + category + "] ";
        std::vector<std::string> lines;
        for (const auto& line : Surroundings::log())
            if (line.compare(0, prefix.size(), prefix) == 0)
                lines.push_back(line.substr(prefix.size()));
        return lines;
    }

    long count(const std::string& category, const std::string& message) const {
        const auto lines = log(category);
        return std::count(lines.begin(), lines.end(), message);
    }

    /// Advances time in small steps and returns each new line of the category with its time.
    std::vector<std::pair<Duration, std::string>> watch(const std::string& category,
                                                        Duration span) {
        std::vector<std::pair<Duration, std::string>> seen;
        auto known = log(category).size();
        const auto collect = [&] {
            const auto lines = log(category);
            for (; known < lines.size(); ++known)
                seen.emplace_back(dispatch.now(), lines[known]);
        };
        const auto end = dispatch.now() + span;
        dispatch.runUntilIdle();
        collect();
        for (auto next = dispatch.nextInstant(); next && *next <= end;
             next = dispatch.nextInstant()) {
            dispatch.advance(*next - dispatch.now());
            collect();
        }
        dispatch.advance(end - dispatch.now());
        collect();
        return seen;
    }

    bool hasStartedAppState() const { return count("State", "start() called") > 0; }

    SimulatedPanels::Panel& panel() { return *system.panels.panel(); }

    std::shared_ptr<AppDelegate> delegate;
};

} // namespace quoxelin::testing
