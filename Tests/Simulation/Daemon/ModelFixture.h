#pragma once

#include "Simulation/Daemon/DaemonModel.h"
#include "Tests/Simulation/Daemon/Tree.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quoxelin::sim {

/// A model whose clock and only bus observer is the test.
class ModelWorld {
  public:
    explicit ModelWorld(DaemonModel::Settings settings = {})
        : model(
              std::move(settings),
              {[this](const std::string& line) { lines.push_back(line); },
               [this](Duration delay, Work work) { delayed.emplace_back(delay, std::move(work)); },
               [this](const std::string& callback) { callbacks.push_back(callback); }}) {
        model.setLoginPageAddress("http://127.0.0.1:8080");
    }
    ModelWorld(const ModelWorld&) = delete;
    ModelWorld& operator=(const ModelWorld&) = delete;

    static DaemonModel::Settings loggedInSettings() {
        DaemonModel::Settings settings;
        settings.loggedIn = true;
        return settings;
    }
    static std::unique_ptr<ModelWorld> loggedIn() {
        return std::make_unique<ModelWorld>(loggedInSettings());
    }

    /// The lines announced since the last call, with network maps replaced by true.
    std::vector<std::string> takeAnnounced() {
        std::vector<std::string> taken;
        for (const auto& line : std::exchange(lines, {})) {
            auto members = json::parse(line)->members();
            for (auto& [key, value] : members)
                if (key == "NetMap")
                    value = value.isObject();
            taken.push_back(json::serialize(members));
        }
        return taken;
    }

    /// Runs all delayed work and returns its longest delay.
    Duration runDelayed() {
        Duration longest{0};
        for (const auto& [delay, work] : std::exchange(delayed, {})) {
            longest = std::max(longest, delay);
            work();
        }
        return longest;
    }

    std::vector<std::string> lines;
    std::vector<std::pair<Duration, Work>> delayed;
    std::vector<std::string> callbacks;
    DaemonModel model;
};

using Lines = std::vector<std::string>;

} // namespace quoxelin::sim
