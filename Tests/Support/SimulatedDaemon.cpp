#include "Tests/Support/SimulatedDaemon.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>

namespace quoxelin::testing {

/// Data on its way from the daemon to one client.
struct SimulatedDaemon::Stream {
    std::string pending;
    std::size_t taken = 0;
    std::size_t chunkSize = 0;
    bool ended = false;
    std::optional<int> readError;
    bool closedByClient = false;

    bool isReadable() const { return !pending.empty() || ended || readError; }

    std::size_t take(std::span<char> into) {
        auto count = std::min(into.size(), pending.size() - taken);
        if (chunkSize != 0)
            count = std::min(count, chunkSize);
        std::copy_n(pending.data() + taken, count, into.begin());
        taken += count;
        if (taken == pending.size()) {
            pending.clear();
            taken = 0;
        }
        return count;
    }
};

class SimulatedDaemon::ClientEnd final : public Connection {
  public:
    ClientEnd(SimulatedDaemon& daemon, std::shared_ptr<Stream> stream)
        : daemon(daemon), stream(std::move(stream)), open(daemon.open) {
        ++*open;
    }
    ~ClientEnd() override {
        stream->closedByClient = true;
        --*open;
    }

    Result<std::size_t, SystemError> read(std::span<char> into) override {
        daemon.dispatch.waitUntil([stream = stream] { return stream->isReadable(); });
        if (stream->pending.empty() && stream->readError)
            return tl::unexpected(SystemError{*stream->readError});
        return stream->take(into);
    }

    Result<std::size_t, SystemError> write(std::string_view bytes) override {
        if (daemon.writeError) {
            stream->ended = true;
            return tl::unexpected(SystemError{*daemon.writeError});
        }
        if (stream->ended)
            return tl::unexpected(SystemError{EPIPE});
        if (daemon.writeLimit && *daemon.writeLimit < bytes.size()) {
            errno = 0;
            return *daemon.writeLimit;
        }
        daemon.receive(stream, std::string(bytes));
        return bytes.size();
    }

    void shutdown() override {
        stream->pending.clear();
        stream->taken = 0;
        stream->ended = true;
    }

  private:
    SimulatedDaemon& daemon;
    std::shared_ptr<Stream> stream;
    std::shared_ptr<std::size_t> open;
};

std::string SimulatedDaemon::Request::line() const {
    const auto end = bytes.find(" HTTP/1.1\r\n");
    return bytes.substr(0, end);
}

std::string SimulatedDaemon::Request::body() const {
    const auto separator = bytes.find("\r\n\r\n");
    return separator == std::string::npos ? std::string() : bytes.substr(separator + 4);
}

SimulatedDaemon::SimulatedDaemon(VirtualDispatch& dispatch) : dispatch(dispatch) {}

SimulatedDaemon::~SimulatedDaemon() = default;

SimulatedDaemon::Reply SimulatedDaemon::ok(std::string body) {
    return status(200, std::move(body));
}

SimulatedDaemon::Reply SimulatedDaemon::status(int code, std::string body) {
    return {"HTTP/1.1 " + std::to_string(code) + " " + (code < 400 ? "OK" : "Error") +
                "\r\nConnection: close\r\n\r\n" + body,
            Duration{0}, 0, false, std::nullopt};
}

SimulatedDaemon::Reply SimulatedDaemon::after(Duration delay, Reply reply) {
    reply.delay = delay;
    return reply;
}

SimulatedDaemon::Reply SimulatedDaemon::never() {
    Reply reply;
    reply.staysOpen = true;
    return reply;
}

void SimulatedDaemon::answer(const std::string& method, const std::string& path, Reply reply) {
    script[method + ' ' + path].lasting = std::move(reply);
}

void SimulatedDaemon::answerNext(const std::string& method, const std::string& path, Reply reply) {
    script[method + ' ' + path].next.push_back(std::move(reply));
}

void SimulatedDaemon::refuseConnections() {
    connectError = ConnectError{ConnectError::Reason::connectFailed, {ECONNREFUSED}};
}

Result<std::unique_ptr<Connection>, ConnectError>
SimulatedDaemon::connect(const std::string& path) {
    attempts.push_back(dispatch.now());
    connectedPath = path;
    if (connectError)
        return tl::unexpected(*connectError);
    return std::make_unique<ClientEnd>(*this, std::make_shared<Stream>());
}

void SimulatedDaemon::receive(const std::shared_ptr<Stream>& stream, std::string bytes) {
    recorded.push_back({std::move(bytes), dispatch.now()});
    const auto request = recorded.back();
    if (request.line() == "GET " + std::string(busPath) && answersTo(request.line()) == nullptr) {
        bus = stream;
        ++streams;
        stream->pending += busHeader;
        return;
    }
    const auto reply = replyTo(request);
    const auto deliver = [stream, reply] {
        stream->pending += reply.bytes;
        stream->chunkSize = reply.chunkSize;
        stream->readError = reply.readError;
        stream->ended = stream->ended || (!reply.staysOpen && !reply.readError);
    };
    if (reply.delay == Duration{0})
        deliver();
    else
        dispatch.main().asyncAfter(reply.delay, deliver);
}

SimulatedDaemon::Answers* SimulatedDaemon::answersTo(const std::string& line) {
    auto found = script.find(line);
    if (found == script.end())
        found = script.find(line.substr(0, line.find('?')));
    return found == script.end() ? nullptr : &found->second;
}

SimulatedDaemon::Reply SimulatedDaemon::replyTo(const Request& request) {
    if (auto* const answers = answersTo(request.line())) {
        if (!answers->next.empty()) {
            auto reply = std::move(answers->next.front());
            answers->next.pop_front();
            return reply;
        }
        if (answers->lasting)
            return *answers->lasting;
    }
    return status(404, "no answer scripted for " + request.line());
}

SimulatedDaemon::Stream& SimulatedDaemon::openBus() {
    if (!isBusOpen())
        throw std::logic_error("no client follows the notification stream");
    return *bus;
}

void SimulatedDaemon::send(std::string_view bytes) {
    openBus().pending += bytes;
}

void SimulatedDaemon::closeBus() {
    openBus().ended = true;
}

void SimulatedDaemon::failBus(int errorNumber) {
    openBus().readError = errorNumber;
}

bool SimulatedDaemon::isBusOpen() const {
    return bus && !bus->ended && !bus->readError && !bus->closedByClient;
}

std::vector<std::string> SimulatedDaemon::requestLines() const {
    std::vector<std::string> lines;
    for (const auto& request : recorded)
        lines.push_back(request.line());
    return lines;
}

std::size_t SimulatedDaemon::count(std::string_view requestLine) const {
    return static_cast<std::size_t>(
        std::count_if(recorded.begin(), recorded.end(),
                      [&](const Request& request) { return request.line() == requestLine; }));
}

} // namespace quoxelin::testing
