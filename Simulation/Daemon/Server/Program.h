#pragma once

#include "Simulation/Daemon/DaemonModel.h"
#include "Simulation/Daemon/Options.h"
#include "Simulation/Daemon/RequestLog.h"
#include "Simulation/Daemon/ScriptedAnswers.h"
#include "Simulation/Daemon/Server/ApiServer.h"
#include "Simulation/Daemon/Server/Bus.h"
#include "Simulation/Daemon/Server/LoginPage.h"
#include "Simulation/Daemon/Server/StandardStreams.h"
#include "Simulation/Steering/Steering.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <chrono>
#include <string>

namespace quoxelin::sim {

/// The simulated daemon: connects the model with the sockets, the login page and the commands. One
/// thread.
class Program {
  public:
    explicit Program(Options options);

    /// Runs the program and returns its exit code.
    int run();

  private:
    DaemonModel::Outside modelOutside();

    bool begin();
    void end();
    void event(const char* name, json::Object members = {});
    void record(ReceivedRequest request);
    void changed();
    void after(Duration delay, Work work);
    double now() const;

    const Options options;
    const std::chrono::steady_clock::time_point started = std::chrono::steady_clock::now();
    boost::asio::io_context context{1};
    LineOutput output{context};
    RequestLog requests;
    ScriptedAnswers script;
    Steering steering{[this](Duration delay, Work work) { after(delay, std::move(work)); },
                      [this](const std::string& line) { output.write(line); }};
    DaemonModel model{options.model, modelOutside()};
    Bus bus{{[this] { return model.greeting(); }, [this] { changed(); }}};
    ApiServer server{context,
                     options.socketPath,
                     {model, script, bus,
                      [this](ReceivedRequest request) { record(std::move(request)); },
                      [this] { changed(); }}};
    LoginPage page{context, model};
    LineInput input{context, [this](std::string_view line) { steering.take(line); }};
    boost::asio::signal_set signals{context, SIGINT, SIGTERM};
    std::size_t observersTold = 0;
    bool lookIsDue = false;
    bool ending = false;
};

} // namespace quoxelin::sim
