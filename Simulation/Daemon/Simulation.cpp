#include "Simulation/Daemon/Simulation.h"

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/json.hpp>
#include <fmt/format.h>

#include <csignal>
#include <cstdio>
#include <memory>
#include <utility>

namespace quoxelin::sim {

namespace asio = boost::asio;
namespace json = boost::json;

Simulation::Simulation(const Options& optionsToUse)
    : options(optionsToUse), waits(context), output(context),
      steering([this](std::string line) { output.write(std::move(line)); }),
      model(options.model, modelOutside()),
      bus({[this] { return model.greeting(); }, [this] { changed(); }}),
      server(context, options.socketPath, apiOutside()), page(context, pageOutside()),
      input(
          context, [this](const std::string& line) { steering.obey(line); },
          [this] {
              if (options.quitOnEof) {
                  end();
              }
          }),
      signals(context, SIGINT, SIGTERM) {
    Commands& commands = steering.table();
    addStateCommands(commands, model);
    addStreamCommands(commands, bus);
    addAnswerCommands(commands, script);
    addConnectionCommands(commands, server, bus);
    addWatchCommands(commands, {model, requests, server, bus, waits});
    commands["quit"] = simpleCommand([this](CommandReader&) -> Effect {
        return [this]() -> json::object {
            asio::post(context, [this] { end(); });
            return {};
        };
    });
}

DaemonModel::Outside Simulation::modelOutside() {
    return {[this](const std::string& line) {
                bus.announce(line);
                changed();
            },
            [this](std::chrono::milliseconds delay, std::function<void()> work) {
                after(delay, std::move(work));
            },
            [this](const std::string& callback) {
                event({{"event", "logged-in"}, {"callback", callback}});
            }};
}

ApiOutside Simulation::apiOutside() {
    return {[this](ReceivedRequest request) { record(std::move(request)); },
            [this](std::string_view method, std::string_view target) {
                return script.take(method, target);
            },
            [this](std::string_view method, std::string_view target, std::string_view body) {
                return answer(model, method, target, body);
            },
            [this](std::shared_ptr<Channel> channel) { bus.observe(std::move(channel)); },
            [this] { changed(); }};
}

LoginPage::Outside Simulation::pageOutside() {
    return {[this] { return model.pendingLogin(); }, [this] { return model.pendingPerson(); },
            [this] { return model.completeLogin().value_or(""); }};
}

int Simulation::run() {
    if (!begin()) {
        return 1;
    }
    context.run();
    // The handlers go before the process does: a second signal must not change its exit code.
    sigset_t late;
    sigemptyset(&late);
    sigaddset(&late, SIGINT);
    sigaddset(&late, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &late, nullptr);
    return 0;
}

bool Simulation::begin() {
    auto problem = page.listen(options.webPort);
    if (!problem) {
        model.setLoginPageAddress(page.address());
        problem = server.listen();
    }
    if (problem) {
        fmt::print(stderr, "quoxelind-sim: {}\n", *problem);
        return false;
    }
    signals.async_wait([this](boost::system::error_code error, int) {
        if (!error) {
            end();
        }
    });
    event({{"event", "listening"}, {"socket", options.socketPath}, {"web", page.address()}});
    input.start();
    return true;
}

void Simulation::end() {
    if (std::exchange(ending, true)) {
        return;
    }
    server.refuse(true);
    server.closeConnections();
    bus.closeAll();
    event({{"event", "ended"}});
    output.whenWritten([this] { context.stop(); });
    // Whoever reads our output may have stopped reading: do not wait for ever.
    after(std::chrono::seconds(1), [this] { context.stop(); });
}

void Simulation::event(json::object members) {
    members["at"] = now();
    output.write(json::serialize(members));
}

void Simulation::record(ReceivedRequest request) {
    request.at = now();
    const ReceivedRequest& seen = requests.add(std::move(request));
    event(seen.summary());
    changed();
}

void Simulation::changed() {
    if (bus.observers() != observersTold) {
        observersTold = bus.observers();
        event({{"event", "observers"}, {"observers", observersTold}});
    }
    // Looked at a turn later: what changed may still be changing.
    if (!std::exchange(checkIsDue, true)) {
        asio::post(context, [this] {
            checkIsDue = false;
            waits.check();
        });
    }
}

void Simulation::after(std::chrono::milliseconds delay, std::function<void()> work) {
    const auto timer = std::make_shared<asio::steady_timer>(context, delay);
    timer->async_wait([timer, work = std::move(work)](boost::system::error_code error) {
        if (!error) {
            work();
        }
    });
}

double Simulation::now() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
}

} // namespace quoxelin::sim
