#include "Simulation/Daemon/Server/ApiServer.h"

#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace quoxelin::sim {

namespace asio = boost::asio;
using ErrorCode = boost::system::error_code;

namespace {

/// The longest path that fits into a Unix address on all supported systems.
constexpr std::size_t longestPath = 103;

} // namespace

ApiServer::ApiServer(asio::io_context& context, std::string path, ApiSurroundings surroundings)
    : context(context), socketPath(std::move(path)), surroundings(std::move(surroundings)),
      acceptor(context), pause(context) {}

ApiServer::~ApiServer() {
    removeOwnFile();
    closeConnections();
}

std::optional<std::string> ApiServer::listen() {
    if (acceptor.is_open())
        return std::nullopt;
    if (auto problem = clearTheWay())
        return problem;
    ErrorCode error;
    const Protocol::endpoint endpoint(socketPath);
    acceptor.open(endpoint.protocol(), error);
    if (!error)
        acceptor.bind(endpoint, error);
    struct stat file {};
    if (!error && ::lstat(socketPath.c_str(), &file) == 0)
        ownFile = file.st_ino;
    if (!error)
        acceptor.listen(Protocol::acceptor::max_listen_connections, error);
    if (error) {
        ErrorCode ignored;
        acceptor.close(ignored);
        removeOwnFile();
        return fmt::format("cannot listen on {}: {}", socketPath, error.message());
    }
    accept();
    return std::nullopt;
}

std::optional<std::string> ApiServer::clearTheWay() {
    if (socketPath.size() > longestPath)
        return fmt::format("socket path is longer than {} bytes: {}", longestPath, socketPath);
    struct stat file {};
    if (::lstat(socketPath.c_str(), &file) != 0)
        return std::nullopt;
    if (!S_ISSOCK(file.st_mode))
        return fmt::format("{} exists and is no socket", socketPath);
    ErrorCode error;
    Protocol::socket probe(context);
    probe.open(Protocol(), error);
    probe.non_blocking(true, error); // a running server may be too busy to accept
    probe.connect(Protocol::endpoint(socketPath), error);
    if (error != asio::error::connection_refused) {
        return fmt::format("{} is served by another process{}", socketPath,
                           error ? ": " + error.message() : "");
    }
    if (::unlink(socketPath.c_str()) != 0)
        return fmt::format("cannot remove the stale {}: {}", socketPath, std::strerror(errno));
    return std::nullopt;
}

void ApiServer::accept() {
    acceptor.async_accept([this](ErrorCode error, Protocol::socket socket) {
        if (error == asio::error::operation_aborted || !acceptor.is_open())
            return;
        if (!error) {
            take(std::move(socket));
            accept();
            return;
        }
        // Probably out of descriptors: wait until connections have ended.
        pause.expires_after(seconds(0.1));
        pause.async_wait([this](ErrorCode canceled) {
            if (!canceled && acceptor.is_open())
                accept();
        });
    });
}

void ApiServer::take(Protocol::socket socket) {
    auto channel = std::make_shared<Channel>(std::move(socket));
    if (resetting)
        reset(channel);
    else
        serve(std::move(channel));
    surroundings.connectionsChanged();
}

void ApiServer::serve(std::shared_ptr<Channel> channel) {
    // Weak, because the connection owns the handler.
    const auto self = std::make_shared<std::weak_ptr<ApiConnection>>();
    const auto connection =
        std::make_shared<ApiConnection>(std::move(channel), surroundings, [this, self] {
            open.erase(self->lock());
            surroundings.connectionsChanged();
        });
    *self = connection;
    open.insert(connection);
    connection->start();
}

void ApiServer::reset(const std::shared_ptr<Channel>& channel) {
    unread.insert(channel);
    channel->waitUntilReadable([this, channel] {
        unread.erase(channel);
        channel->close();
        surroundings.connectionsChanged();
    });
}

void ApiServer::refuse() {
    ErrorCode error;
    acceptor.close(error);
    pause.cancel();
}

std::size_t ApiServer::closeConnections() {
    const std::size_t count = connections();
    for (const auto& connection : std::set(open))
        connection->close();
    for (const auto& channel : std::exchange(unread, {}))
        channel->close();
    surroundings.connectionsChanged();
    return count;
}

void ApiServer::removeOwnFile() {
    // Another process may have put its socket there.
    struct stat file {};
    const bool ours = ownFile && ::lstat(socketPath.c_str(), &file) == 0 && file.st_ino == *ownFile;
    if (ours)
        ::unlink(socketPath.c_str());
    ownFile.reset();
}

} // namespace quoxelin::sim
