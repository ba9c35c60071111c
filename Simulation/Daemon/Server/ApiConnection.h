#pragma once

#include "Simulation/Daemon/Http.h"
#include "Simulation/Daemon/RequestLog.h"
#include "Simulation/Daemon/ScriptedAnswers.h"
#include "Simulation/Daemon/Server/Bus.h"
#include "Simulation/Daemon/Server/Channel.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace quoxelin::sim {

class DaemonModel;

/// The objects needed to answer requests.
struct ApiSurroundings {
    DaemonModel& model;
    ScriptedAnswers& script;
    Bus& bus;
    std::function<void(ReceivedRequest)> record;
    /// A connection was accepted or closed.
    std::function<void()> connectionsChanged;
};

/// One connection of the local API: reads requests, records their bytes, and gives the scripted or
/// the daemon's answer. It stays open between requests unless the client asks for "Connection:
/// close".
class ApiConnection : public std::enable_shared_from_this<ApiConnection> {
  public:
    /// `ended` is called once, when the connection is closed or has become a stream.
    ApiConnection(std::shared_ptr<Channel> channel, const ApiSurroundings& surroundings,
                  std::function<void()> ended)
        : channel(std::move(channel)), surroundings(surroundings), ended(std::move(ended)) {}

    void start() { readMore(); }
    void close();

  private:
    void readMore();
    void parse();
    void respond();
    void respondAsDaemon();
    void carryOut(const ScriptedReply& script);
    void hang();
    void send(std::string bytes, bool keepOpen);
    void nextRequest();
    void record(bool complete);
    std::string ownReply();
    void end();

    std::shared_ptr<Channel> channel;
    const ApiSurroundings& surroundings;
    std::function<void()> ended;
    /// The bytes of the current request and everything after it.
    std::string received;
    std::optional<HttpRequest> request{std::in_place};
};

} // namespace quoxelin::sim
