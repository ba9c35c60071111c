#pragma once

#include "Base/Connection.h"
#include "Simulation/Daemon/DaemonModel.h"
#include "Simulation/Daemon/ScriptedAnswers.h"
#include "Tests/Support/VirtualDispatch.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quoxelin::testing {

/// The daemon of quoxelind-sim in the test's own process and on virtual time. A client's `read`
/// blocks its background work until there is data.
///
/// Requests are recorded. The test can script their answers; the daemon's model answers the others.
/// The notification stream is a connection that stays open and carries what the test sends. Set
/// `announces` to have the model's own notifications on it, too:
///
///     SimulatedDaemon daemon(dispatch);
///     daemon.answer("GET", "/localapi/v0/status", SimulatedDaemon::ok("{}"));
///     daemon.notify(R"({"State":"Running"})");
///     dispatch.runUntilIdle();
///     EXPECT_EQ(daemon.requestLines(), ...);
///
/// Use it from the test's thread. It must outlive the dispatch's work that uses it: declare it
/// before the clients, and call `dispatch.endAllWork()` if the dispatch outlives it.
class SimulatedDaemon final : public Connector {
  public:
    using Reply = sim::ScriptedReply;

    /// How replies reach the client.
    struct Delivery {
        /// The time between request and reply.
        Duration delay{0};
        /// The maximum number of bytes per read; 0 for no limit.
        std::size_t chunkSize = 0;
        /// After the bytes, the stream ends, stays open, or fails with an error. ENOMEM throws, as
        /// if the client had no memory for what it reads.
        bool staysOpen = false;
        std::optional<int> readError = {};
    };

    struct Request {
        /// The exact bytes of one write.
        std::string bytes;
        /// The time since the start of the test.
        Duration instant;

        /// "GET /localapi/v0/status".
        std::string line() const;
        std::string body() const;
    };

    /// The model has no profile, so no account is logged in.
    explicit SimulatedDaemon(VirtualDispatch& dispatch);
    ~SimulatedDaemon() override;

    // Scripting

    /// A reply with that status and body.
    static Reply ok(std::string body = {}) { return status(200, std::move(body)); }
    static Reply status(int code, std::string body = {}) {
        return sim::CannedReply{code, std::move(body)};
    }
    /// Any bytes.
    static Reply raw(std::string bytes) { return sim::RawReply{std::move(bytes)}; }
    /// Accepts the request and never answers.
    static Reply never() { return sim::NoReply{}; }

    /// Sets the answer to requests of that method and path, or to the next `times` of them only. A
    /// path without a query also matches requests with one.
    void answer(const std::string& method, const std::string& path, Reply reply,
                std::optional<std::size_t> times = {}) {
        script.add({method, path, times, std::move(reply)});
    }

    /// How replies are delivered, by path.
    std::map<std::string, Delivery> deliveries;

    /// Every attempt to connect fails with this error until it is reset.
    std::optional<ConnectError> connectError;
    void refuseConnections();
    void acceptConnections() { connectError.reset(); }

    /// Every write fails with that error number; the stream stays open. Or writes take at most that
    /// many bytes, and are neither recorded nor answered.
    std::optional<int> writeError;
    std::optional<std::size_t> writeLimit;

    /// Whether the model's notifications go to the stream.
    bool announces = false;

    // The notification stream. The bytes go to the connection that last asked for it, which must be
    // open.

    /// Sent at the start of each stream.
    std::string busHeader = "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n\r\n";

    void send(std::string_view bytes);
    /// Sends one line.
    void notify(const std::string& json) { send(json + '\n'); }
    /// Ends the stream.
    void closeBus();
    /// Makes the client's read fail, or throw for ENOMEM.
    void failBus(int errorNumber);
    /// Whether a client has asked for the stream and neither side has closed it.
    bool isBusOpen() const;
    /// The number of streams that clients have asked for.
    std::size_t busConnections() const { return streams; }

    // What the client did

    /// In order.
    const std::vector<Request>& requests() const { return recorded; }
    std::vector<std::string> requestLines() const;
    /// The number of requests with that line, such as "POST /localapi/v0/login".
    std::size_t count(std::string_view requestLine) const;
    void clearRequests() { recorded.clear(); }

    /// Connections that the client has not closed.
    std::size_t openConnections() const { return *open; }
    /// The times of all attempts to connect, successful or not.
    const std::vector<Duration>& connectInstants() const { return attempts; }
    const std::string& lastPath() const { return connectedPath; }

    Result<std::unique_ptr<Connection>, ConnectError> connect(const std::string& path) override;

    sim::DaemonModel model;

  private:
    struct Stream;
    class ClientEnd;

    void receive(const std::shared_ptr<Stream>& stream, std::string bytes);
    void observe(const std::shared_ptr<Stream>& stream);
    Stream& openBus();

    VirtualDispatch& dispatch;
    sim::ScriptedAnswers script;
    std::vector<Request> recorded;
    std::vector<Duration> attempts;
    std::string connectedPath;
    std::shared_ptr<std::size_t> open = std::make_shared<std::size_t>(0);
    std::shared_ptr<Stream> bus;
    std::size_t streams = 0;
};

} // namespace quoxelin::testing
