#pragma once

#include "Simulation/Daemon/Channel.h"
#include "Simulation/Daemon/Http.h"
#include "Simulation/Daemon/LocalApi.h"
#include "Simulation/Daemon/RequestLog.h"
#include "Simulation/Daemon/ScriptedAnswers.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quoxelin::sim {

/// The outside calls that answering requests needs.
struct ApiOutside {
    std::function<void(ReceivedRequest)> record;
    std::function<std::optional<ScriptedAnswer>(std::string_view method, std::string_view target)>
        script;
    std::function<ApiReply(std::string_view method, std::string_view target, std::string_view body)>
        answer;
    std::function<void(std::shared_ptr<Channel>)>
        observe;                              ///< takes over the connection as a stream
    std::function<void()> connectionsChanged; ///< one was accepted or went
};

/// One connection of the local API: reads requests, records their bytes, and answers each by the
/// script or as the daemon does. It stays open between requests unless the client asks for
/// "Connection: close".
class ApiConnection : public std::enable_shared_from_this<ApiConnection> {
  public:
    /// `ended` is called once, when the connection is closed or has become a stream.
    ApiConnection(std::shared_ptr<Channel> channel, const ApiOutside& outside,
                  std::function<void()> ended);
    ~ApiConnection();

    void start();
    /// Closes without a word.
    void close();

  private:
    void readMore();
    void parse();
    void clientGone();
    void malformed();
    void respond();
    void respondAsDaemon(const ScriptedAnswer* script);
    void observe();
    void carryOut(const ScriptedAnswer& script);
    void truncate(const TruncatedReply& cut, const Pacing& pacing);
    void hang();
    void send(std::string bytes, Pacing pacing, bool keepOpen);
    void nextRequest();
    void record(bool complete);
    std::string ownReply();
    void end();

    std::shared_ptr<Channel> channel;
    const ApiOutside& outside;
    std::function<void()> ended;
    std::string received; ///< bytes of the present request and whatever came behind it
    std::unique_ptr<HttpRequest> request;
};

} // namespace quoxelin::sim
