#pragma once

#include "Simulation/Daemon/ApiServer.h"
#include "Simulation/Daemon/Bus.h"
#include "Simulation/Daemon/DaemonModel.h"
#include "Simulation/Daemon/LoginPage.h"
#include "Simulation/Daemon/Options.h"
#include "Simulation/Daemon/RequestLog.h"
#include "Simulation/Daemon/ScriptedAnswers.h"
#include "Simulation/Daemon/StandardStreams.h"
#include "Simulation/Daemon/Steering.h"
#include "Simulation/Daemon/Waits.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/json/object.hpp>

#include <chrono>
#include <functional>
#include <string>

namespace quoxelin::sim {

/// The whole simulated daemon: joins the model to the sockets, the login page and the steering. One
/// thread.
class Simulation {
  public:
    explicit Simulation(const Options& options);

    /// Runs until it is told to end; the exit code of the process.
    int run();

  private:
    DaemonModel::Outside modelOutside();
    ApiOutside apiOutside();
    LoginPage::Outside pageOutside();

    bool begin();
    void end();
    void event(boost::json::object members);
    void record(ReceivedRequest request);
    void changed();
    void after(std::chrono::milliseconds delay, std::function<void()> work);
    double now() const;

    const Options options;
    const std::chrono::steady_clock::time_point started = std::chrono::steady_clock::now();
    boost::asio::io_context context{1};
    Waits waits;
    LineOutput output;
    RequestLog requests;
    ScriptedAnswers script;
    Steering steering;
    DaemonModel model;
    Bus bus;
    ApiServer server;
    LoginPage page;
    LineInput input;
    boost::asio::signal_set signals;
    std::size_t observersTold = 0;
    bool checkIsDue = false;
    bool ending = false;
};

} // namespace quoxelin::sim
