#include "Simulation/Daemon/ApiServer.h"

#include <fmt/format.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace quoxelin::sim {

namespace asio = boost::asio;
using ErrorCode = boost::system::error_code;

namespace {

/// The longest path that a Unix address holds on every system the application knows.
constexpr std::size_t longestPath = 103;

} // namespace

ApiServer::ApiServer(asio::io_context& contextToUse, std::string path, ApiOutside outsideToUse)
    : context(contextToUse), socketPath(std::move(path)), outside(std::move(outsideToUse)),
      acceptor(contextToUse), pause(contextToUse) {}

ApiServer::~ApiServer() {
    removeOwnFile();
    closeConnections();
}

std::optional<std::string> ApiServer::listen() {
    if (acceptor.is_open()) {
        return std::nullopt;
    }
    if (auto problem = clearTheWay()) {
        return problem;
    }
    ErrorCode error;
    const Protocol::endpoint endpoint(socketPath);
    acceptor.open(endpoint.protocol(), error);
    if (!error) {
        acceptor.bind(endpoint, error);
    }
    struct stat file {};
    if (!error && ::lstat(socketPath.c_str(), &file) == 0) {
        ownFile = file.st_ino;
    }
    if (!error) {
        acceptor.listen(Protocol::acceptor::max_listen_connections, error);
    }
    if (error) {
        ErrorCode ignoredError;
        acceptor.close(ignoredError);
        removeOwnFile();
        return fmt::format("cannot listen on {}: {}", socketPath, error.message());
    }
    accept();
    return std::nullopt;
}

std::optional<std::string> ApiServer::clearTheWay() {
    if (socketPath.size() > longestPath) {
        return fmt::format("socket path is longer than {} bytes: {}", longestPath, socketPath);
    }
    struct stat file {};
    if (::lstat(socketPath.c_str(), &file) != 0) {
        return std::nullopt;
    }
    if (!S_ISSOCK(file.st_mode)) {
        return fmt::format("{} exists and is no socket", socketPath);
    }
    ErrorCode error;
    Protocol::socket probe(context);
    probe.open(Protocol(), error);
    probe.non_blocking(true, error); // one that is served may be too busy to accept
    probe.connect(Protocol::endpoint(socketPath), error);
    if (error != asio::error::connection_refused) {
        return fmt::format("{} is served by another process{}", socketPath,
                           error ? ": " + error.message() : "");
    }
    if (::unlink(socketPath.c_str()) != 0) {
        return fmt::format("cannot remove the stale {}: {}", socketPath, std::strerror(errno));
    }
    return std::nullopt;
}

void ApiServer::accept() {
    acceptor.async_accept([this](ErrorCode error, Protocol::socket socket) {
        if (error == asio::error::operation_aborted || !acceptor.is_open()) {
            return;
        }
        if (!error) {
            take(std::move(socket));
            accept();
            return;
        }
        // Out of descriptors, most likely: connections must end before another attempt can succeed.
        pause.expires_after(std::chrono::milliseconds(100));
        pause.async_wait([this](ErrorCode canceled) {
            if (!canceled && acceptor.is_open()) {
                accept();
            }
        });
    });
}

void ApiServer::take(Protocol::socket socket) {
    auto channel = std::make_shared<Channel>(std::move(socket));
    switch (accepting) {
    case Accepting::serve:
        serve(std::move(channel));
        break;
    case Accepting::reset:
        reset(channel);
        break;
    case Accepting::ignore:
        ignored.insert(std::move(channel));
        break;
    }
    outside.connectionsChanged();
}

void ApiServer::serve(std::shared_ptr<Channel> channel) {
    // The handler must not own the connection that owns it.
    const auto self = std::make_shared<std::weak_ptr<ApiConnection>>();
    const auto connection =
        std::make_shared<ApiConnection>(std::move(channel), outside, [this, self] {
            open.erase(self->lock());
            outside.connectionsChanged();
        });
    *self = connection;
    open.insert(connection);
    connection->start();
}

void ApiServer::reset(const std::shared_ptr<Channel>& channel) {
    ignored.insert(channel);
    channel->waitUntilReadable([this, channel] {
        ignored.erase(channel);
        channel->close();
        outside.connectionsChanged();
    });
}

void ApiServer::refuse(bool removeFile) {
    ErrorCode error;
    acceptor.close(error);
    pause.cancel();
    if (removeFile) {
        removeOwnFile();
    }
}

void ApiServer::setAccepting(Accepting how) {
    accepting = how;
}

std::size_t ApiServer::closeConnections() {
    const std::size_t count = connections();
    for (const auto& connection : std::set(open)) {
        connection->close();
    }
    for (const auto& channel : std::exchange(ignored, {})) {
        channel->close();
    }
    outside.connectionsChanged();
    return count;
}

void ApiServer::removeOwnFile() {
    // Somebody else may have put a socket of their own in its place.
    struct stat file {};
    const bool ours = ownFile && ::lstat(socketPath.c_str(), &file) == 0 && file.st_ino == *ownFile;
    if (ours) {
        ::unlink(socketPath.c_str());
    }
    ownFile.reset();
}

} // namespace quoxelin::sim
