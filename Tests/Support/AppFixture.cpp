#include "Tests/Support/AppFixture.h"

#include <algorithm>
#include <fmt/format.h>

namespace quoxelin::testing {

namespace {

std::string inSeconds(Duration instant) {
    return fmt::format("{:.3f}", std::chrono::duration<double>(instant).count());
}

std::string text(const SimulatedDaemon::Request& request) {
    const auto body = request.body();
    return body.empty() ? request.line() : request.line() + " " + body;
}

} // namespace

AppFixture::AppFixture() {
    system.systemLog.onEntry = [this](const SimulatedSystemLog::Entry& entry) {
        entries.push_back({dispatch.now(), entry.text});
        for (const auto& [beginning, function] : watched)
            if (entry.text.starts_with(beginning))
                function();
    };
    system.networkExtension.onRequest = [this](const std::string& request) {
        if (request == "start" || request == "stop")
            commands.push_back(inSeconds(dispatch.now()) + " " + request);
    };
}

AppFixture::~AppFixture() {
    dispatch.endAllWork();
    system.systemLog.onEntry = nullptr;
    system.networkExtension.onRequest = nullptr;
}

void AppFixture::startAndForget() {
    appState->start();
    run();
    forget();
}

void AppFixture::bus(const std::string& json) {
    daemon.notify(json);
    run();
}

void AppFixture::answerProfiles(const std::string& body, int status) {
    daemon.answer("GET", "/localapi/v0/profiles", SimulatedDaemon::status(status, body));
}

void AppFixture::answerStatus(const std::string& body, int status) {
    daemon.answer("GET", "/localapi/v0/status", SimulatedDaemon::status(status, body));
}

void AppFixture::addTunnelConfiguration() {
    system.networkExtension.addConfiguration(
        SimulatedNetworkExtension::ofTunnel("com.quoxelin.desktop.PacketTunnel", "Quoxelin"));
}

void AppFixture::refuseTunnelStarts() {
    system.networkExtension.tunnels.startError = Error{NEVPNErrorDomain, 3, "No way."};
}

void AppFixture::forget() {
    system.systemLog.clear();
    entries.clear();
    commands.clear();
    daemon.clearRequests();
}

std::vector<std::string> AppFixture::lines(const std::string& tag) const {
    const auto beginning = "[" + tag + "] ";
    std::vector<std::string> found;
    for (const auto& entry : entries) {
        if (entry.text.starts_with(beginning))
            found.push_back(entry.text.substr(beginning.size()));
    }
    return found;
}

std::vector<std::string> AppFixture::timedLines(const std::string& tag) const {
    const auto beginning = "[" + tag + "]";
    std::vector<std::string> found;
    for (const auto& entry : entries) {
        if (entry.text.starts_with(beginning))
            found.push_back(inSeconds(entry.instant) + entry.text.substr(beginning.size()));
    }
    return found;
}

long AppFixture::count(const std::string& tag, const std::string& message) const {
    const auto all = lines(tag);
    return std::count(all.begin(), all.end(), message);
}

std::vector<std::string> AppFixture::logged(const std::vector<std::string>& beginnings) const {
    std::vector<std::string> found;
    for (const auto& entry : entries)
        for (const auto& beginning : beginnings)
            if (entry.text.starts_with(beginning))
                found.push_back(beginning);
    return found;
}

std::vector<std::string> AppFixture::requests() const {
    std::vector<std::string> texts;
    for (const auto& request : daemon.requests())
        texts.push_back(text(request));
    return texts;
}

std::vector<std::string> AppFixture::timedRequests() const {
    std::vector<std::string> texts;
    for (const auto& request : daemon.requests())
        texts.push_back(inSeconds(request.instant) + " " + text(request));
    return texts;
}

int AppFixture::countRequests(const std::string& request) const {
    const auto all = requests();
    return static_cast<int>(std::count(all.begin(), all.end(), request));
}

std::string AppFixture::wantRunningRequest(bool wantRunning) {
    return fmt::format(R"(PATCH /localapi/v0/hatago {{"WantRunning":{},"WantRunningSet":true}})",
                       wantRunning);
}

} // namespace quoxelin::testing
