#pragma once

#include "Simulation/Daemon/DaemonModel.h"

#include <boost/json.hpp>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quoxelin::sim {

/// A model in a world of which the test is the clock and the only observer of the bus.
class ModelWorld {
  public:
    explicit ModelWorld(DaemonModel::Settings settings = {})
        : model(std::move(settings),
                {[this](const std::string& line) { lines.push_back(line); },
                 [this](std::chrono::milliseconds delay, std::function<void()> work) {
                     delayed.emplace_back(delay, std::move(work));
                 },
                 [this](const std::string& callback) { callbacks.push_back(callback); }}) {
        model.setLoginPageAddress("http://127.0.0.1:8080");
    }
    ModelWorld(const ModelWorld&) = delete;
    ModelWorld& operator=(const ModelWorld&) = delete;

    static std::unique_ptr<ModelWorld> loggedIn() {
        DaemonModel::Settings settings;
        settings.loggedIn = true;
        return std::make_unique<ModelWorld>(settings);
    }

    /// Takes the lines announced since the last call, network maps shortened to true.
    std::vector<std::string> takeAnnounced() {
        std::vector<std::string> taken;
        for (const std::string& line : std::exchange(lines, {})) {
            boost::json::object members = boost::json::parse(line).as_object();
            if (members.contains("NetMap")) {
                members["NetMap"] = members["NetMap"].is_object();
            }
            taken.push_back(boost::json::serialize(members));
        }
        return taken;
    }

    /// Runs the delayed work asked for so far; the longest delay among it.
    std::chrono::milliseconds runDelayed() {
        std::chrono::milliseconds longest{0};
        for (const auto& [delay, work] : std::exchange(delayed, {})) {
            longest = std::max(longest, delay);
            work();
        }
        return longest;
    }

    std::vector<std::string> lines;
    std::vector<std::pair<std::chrono::milliseconds, std::function<void()>>> delayed;
    std::vector<std::string> callbacks;
    DaemonModel model;
};

using Lines = std::vector<std::string>;

} // namespace quoxelin::sim
