#pragma once

#include "Base/Connection.h"
#include "Tests/Support/VirtualDispatch.h"

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quoxelin::testing {

/// The daemon at the other end of the application's connections, in memory and on virtual time: a
/// client's `read` blocks its background work until there is something to read.
///
/// Requests are answered as the test scripts it, per method and path; every request is recorded.
/// The notification stream is a connection that stays open, to which the test appends bytes when
/// it pleases:
///
///     SimulatedDaemon daemon(dispatch);
///     daemon.answer("GET", "/localapi/v0/status", SimulatedDaemon::ok("{}"));
///     daemon.notify(R"({"State":"Running"})");
///     dispatch.runUntilIdle();
///     EXPECT_EQ(daemon.requestLines(), ...);
///
/// Use it from the test's thread. It must outlive the work of the dispatch that uses it: declare it
/// before the clients, and end with `dispatch.endAllWork()` where the dispatch outlives it.
class SimulatedDaemon final : public Connector {
  public:
    struct Reply {
        /// All that is sent, header included.
        std::string bytes;
        /// From the request to the reply.
        Duration delay{0};
        /// At most so many bytes a read; 0 is as many as the reader takes.
        std::size_t chunkSize = 0;
        /// What happens after the bytes: the end of the stream, a failed read, or nothing ever.
        bool staysOpen = false;
        std::optional<int> readError = {};
    };

    struct Request {
        /// The exact bytes of one write.
        std::string bytes;
        /// Since the test began.
        Duration instant;

        /// "GET /localapi/v0/status".
        std::string line() const;
        std::string body() const;

        bool operator==(const Request&) const = default;
    };

    static constexpr std::string_view busPath = "/localapi/v0/observe-hashi-bus";

    explicit SimulatedDaemon(VirtualDispatch& dispatch);
    ~SimulatedDaemon() override;

    // Scripting.

    /// "HTTP/1.1 200 OK" with that body; the second with any status.
    static Reply ok(std::string body = {});
    static Reply status(int code, std::string body = {});
    static Reply after(Duration delay, Reply reply);
    /// Accepts the request and never answers.
    static Reply never();

    /// How requests of that method and path are answered from now on. A path without a query also
    /// stands for its requests with one. What is not scripted is answered by a 404.
    void answer(const std::string& method, const std::string& path, Reply reply);

    /// The same for the next such request only, before the lasting answer; several queue up.
    void answerNext(const std::string& method, const std::string& path, Reply reply);

    /// Every attempt to connect fails so, until it is reset: the daemon is absent, or the socket
    /// cannot be made.
    std::optional<ConnectError> connectError;
    void refuseConnections();
    void acceptConnections() { connectError.reset(); }

    /// Every write fails with that error number, as it does when the peer has gone: what is read
    /// after it is the end of the stream. Or it takes no more than so many bytes, and is then
    /// neither recorded nor answered.
    std::optional<int> writeError;
    std::optional<std::size_t> writeLimit;

    // The notification stream. The bytes go to the connection that asked for it last, which has to
    // be open.

    /// Sent at the beginning of each stream.
    std::string busHeader = "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n\r\n";

    void send(std::string_view bytes);
    /// One line.
    void notify(const std::string& json) { send(json + '\n'); }
    /// The end of the stream.
    void closeBus();
    /// The client's read fails.
    void failBus(int errorNumber);
    /// Asked for by the client, and closed by neither side.
    bool isBusOpen() const;
    /// How many streams have been asked for.
    std::size_t busConnections() const { return streams; }

    // What the client did.

    /// In the order of the writes.
    const std::vector<Request>& requests() const { return recorded; }
    std::vector<std::string> requestLines() const;
    /// The requests with that line, as in "POST /localapi/v0/login".
    std::size_t count(std::string_view requestLine) const;
    /// Forgets the requests so far.
    void clearRequests() { recorded.clear(); }

    /// Connections that the client has opened and not closed.
    std::size_t openConnections() const { return *open; }
    /// When the client tried to connect, successful or not.
    const std::vector<Duration>& connectInstants() const { return attempts; }
    const std::string& lastPath() const { return connectedPath; }

    Result<std::unique_ptr<Connection>, ConnectError> connect(const std::string& path) override;

  private:
    struct Stream;
    class ClientEnd;
    struct Answers {
        std::deque<Reply> next;
        std::optional<Reply> lasting;
    };

    void receive(const std::shared_ptr<Stream>& stream, std::string bytes);
    Reply replyTo(const Request& request);
    Answers* answersTo(const std::string& line);
    Stream& openBus();

    VirtualDispatch& dispatch;
    std::map<std::string, Answers> script;
    std::vector<Request> recorded;
    std::vector<Duration> attempts;
    std::string connectedPath;
    std::shared_ptr<std::size_t> open = std::make_shared<std::size_t>(0);
    std::shared_ptr<Stream> bus;
    std::size_t streams = 0;
};

} // namespace quoxelin::testing
