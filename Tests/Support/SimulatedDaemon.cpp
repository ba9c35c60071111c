#include "Tests/Support/SimulatedDaemon.h"

#include "Simulation/Daemon/Http.h"
#include "Simulation/Daemon/LocalApi.h"
#include "Simulation/Daemon/Text.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <stdexcept>

namespace quoxelin::testing {

namespace {

/// What a scripted reply sends, given the daemon's own reply; nothing for a reply that never comes.
std::optional<std::string> bytesOf(const sim::ScriptedReply& reply,
                                   const std::function<std::string()>& own) {
    using Bytes = std::optional<std::string>;
    struct Visitor {
        const std::function<std::string()>& own;

        Bytes operator()(const sim::CannedReply& canned) const {
            return sim::httpReply(canned.status, {}, canned.body, false);
        }
        Bytes operator()(const sim::RawReply& raw) const { return raw.bytes; }
        Bytes operator()(const sim::TruncatedReply& cut) const {
            const auto whole = own();
            return whole.substr(0, cut.bytes + (cut.countsBody ? whole.find("\r\n\r\n") + 4 : 0));
        }
        Bytes operator()(const sim::NoReply&) const { return std::nullopt; }
        Bytes operator()(const sim::DroppedConnection&) const { return ""; }
    };
    return std::visit(Visitor{own}, reply);
}

} // namespace

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
        if (stream->pending.empty() && stream->readError == ENOMEM)
            throw std::bad_alloc();
        if (stream->pending.empty() && stream->readError)
            return tl::unexpected(SystemError{*stream->readError});
        return stream->take(into);
    }

    Result<std::size_t, SystemError> write(std::string_view bytes) override {
        if (daemon.writeError)
            return tl::unexpected(SystemError{*daemon.writeError});
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

SimulatedDaemon::SimulatedDaemon(VirtualDispatch& dispatch)
    : model({}, {[this](const std::string& line) {
                     if (announces && isBusOpen())
                         notify(line);
                 },
                 [&dispatch](Duration delay, Work work) {
                     dispatch.main().asyncAfter(delay, std::move(work));
                 },
                 [](const std::string&) {}}),
      dispatch(dispatch) {
    model.setLoginPageAddress("https://login.example.com");
    model.setAccounts({}, "");
}

SimulatedDaemon::~SimulatedDaemon() = default;

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
    const auto line = recorded.back().line();
    const auto blank = std::min(line.find(' '), line.size());
    const auto method = line.substr(0, blank);
    const auto target = line.substr(std::min(blank + 1, line.size()));
    const auto own = [&, body = recorded.back().body()] {
        const auto reply = sim::answer(model, method, target, body);
        return sim::httpReply(reply.status, {}, reply.body, false);
    };
    const auto scripted = script.take(method, target);
    if (!scripted && sim::pathOf(target) == sim::observePath)
        return observe(stream);
    const auto reply = scripted ? bytesOf(*scripted, own) : own();
    if (!reply)
        return;
    const auto how = deliveries[std::string(sim::pathOf(target))];
    const auto deliver = [stream, how, reply = *reply] {
        stream->pending += reply;
        stream->chunkSize = how.chunkSize;
        stream->readError = how.readError;
        stream->ended = stream->ended || (!how.staysOpen && !how.readError);
    };
    if (how.delay == Duration{0})
        deliver();
    else
        dispatch.main().asyncAfter(how.delay, deliver);
}

void SimulatedDaemon::observe(const std::shared_ptr<Stream>& stream) {
    bus = stream;
    ++streams;
    stream->pending += busHeader;
    if (announces)
        notify(model.greeting());
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
