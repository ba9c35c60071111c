#pragma once

#include "Platform/SystemLog.h"
#include "Tests/Support/VirtualDispatch.h"

#include <fmt/format.h>
#include <string>
#include <utility>
#include <vector>

namespace quoxelin::testing {

/// A record of events, line by line: the application's log and the test's own notes. Main thread
/// only.
class Trace final : public SystemLog {
  public:
    explicit Trace(const VirtualDispatch& dispatch) : dispatch(dispatch) {}

    void log(const std::string& text) override { note(text); }
    void log(const std::string&, const std::string&, const std::string& text) override {
        note(text);
    }

    void note(const std::string& text) { lines.emplace_back(dispatch.now(), text); }

    /// The lines since the last call.
    std::vector<std::string> take() {
        std::vector<std::string> texts;
        for (auto& [instant, text] : std::exchange(lines, {}))
            texts.push_back(std::move(text));
        return texts;
    }

    /// The same, each with its time in seconds: "2.5 [VPN] raw status: 1".
    std::vector<std::string> takeTimed() {
        std::vector<std::string> texts;
        for (const auto& [instant, text] : std::exchange(lines, {}))
            texts.push_back(
                fmt::format("{} {}", std::chrono::duration<double>(instant).count(), text));
        return texts;
    }

  private:
    const VirtualDispatch& dispatch;
    std::vector<std::pair<Duration, std::string>> lines;
};

} // namespace quoxelin::testing
