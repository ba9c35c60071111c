#include "Simulation/Daemon/Server/Program.h"

#include "Simulation/Daemon/Commands.h"

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <csignal>
#include <cstdio>
#include <fmt/format.h>
#include <memory>
#include <utility>

namespace quoxelin::sim {

namespace asio = boost::asio;

Program::Program(Options options) : options(std::move(options)) {
    addStateCommands(steering, model);
    addStreamCommands(steering, bus);
    addAnswerCommands(steering, script);
    addConnectionCommands(steering, server, bus);
    addWatchCommands(steering, {model, requests, server, bus});
    steering.addAction("quit", [this] { asio::post(context, [this] { end(); }); });
}

DaemonModel::Outside Program::modelOutside() {
    return {[this](const std::string& line) {
                bus.announce(line);
                changed();
            },
            [this](Duration delay, Work work) { after(delay, std::move(work)); },
            [this](const std::string& callback) {
                event("logged-in", {{"callback", callback}});
            }};
}

int Program::run() {
    if (!begin())
        return 1;
    context.run();
    // The handlers are removed before the process exits. A second signal must not change the exit
    // code.
    sigset_t late;
    sigemptyset(&late);
    sigaddset(&late, SIGINT);
    sigaddset(&late, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &late, nullptr);
    return 0;
}

bool Program::begin() {
    auto problem = page.listen();
    if (!problem) {
        model.setLoginPageAddress(page.address());
        problem = server.listen();
    }
    if (problem) {
        fmt::print(stderr, "quoxelind-sim: {}\n", *problem);
        return false;
    }
    signals.async_wait([this](boost::system::error_code error, int) {
        if (!error)
            end();
    });
    event("listening", {{"socket", options.socketPath}, {"web", page.address()}});
    input.start();
    return true;
}

void Program::end() {
    if (std::exchange(ending, true))
        return;
    server.refuse();
    server.closeConnections();
    bus.closeAll();
    event("ended");
    output.whenWritten([this] { context.stop(); });
    // Do not wait forever for a reader that has stopped reading.
    after(seconds(1), [this] { context.stop(); });
}

void Program::event(const char* name, json::Object members) {
    json::Object line = {{"event", name}, {"at", now()}};
    line.insert(line.end(), members.begin(), members.end());
    output.write(json::serialize(line));
}

void Program::record(ReceivedRequest request) {
    request.at = now();
    event("request", requests.add(std::move(request)).summary());
    changed();
}

void Program::changed() {
    if (bus.observers() != observersTold) {
        observersTold = bus.observers();
        event("observers", {{"observers", observersTold}});
    }
    // Later, because more may be about to change.
    if (!std::exchange(lookIsDue, true))
        asio::post(context, [this] {
            lookIsDue = false;
            steering.look();
        });
}

void Program::after(Duration delay, Work work) {
    const auto timer = std::make_shared<asio::steady_timer>(context, delay);
    timer->async_wait([timer, work = std::move(work)](boost::system::error_code error) {
        if (!error)
            work();
    });
}

double Program::now() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
}

} // namespace quoxelin::sim
