#pragma once

#include "Simulation/Daemon/Server/ApiConnection.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <optional>
#include <set>
#include <string>

namespace quoxelin::sim {

/// Listens on the Unix socket and keeps the connections that are not notification streams.
class ApiServer {
  public:
    ApiServer(boost::asio::io_context& context, std::string socketPath,
              ApiSurroundings surroundings);
    ~ApiServer();

    /// Starts listening, or continues. Replaces a stale socket file. Returns an error text if the
    /// path is too long, is not a socket or is in use, or if the system refuses.
    std::optional<std::string> listen();

    /// Stops listening, so connecting is refused. Existing connections stay.
    void refuse();

    /// Whether to close new connections with unread bytes, which the client sees as a connection
    /// reset.
    void setResetting(bool reset) { resetting = reset; }

    /// Returns their number.
    std::size_t closeConnections();
    std::size_t connections() const { return open.size() + unread.size(); }

  private:
    using Protocol = boost::asio::local::stream_protocol;

    std::optional<std::string> clearTheWay();
    void accept();
    void take(Protocol::socket socket);
    void serve(std::shared_ptr<Channel> channel);
    void reset(const std::shared_ptr<Channel>& channel);
    void removeOwnFile();

    boost::asio::io_context& context;
    std::string socketPath;
    ApiSurroundings surroundings;
    Protocol::acceptor acceptor;
    /// Delays another attempt to accept.
    boost::asio::steady_timer pause;
    /// The inode of our socket file.
    std::optional<unsigned long long> ownFile;
    bool resetting = false;
    std::set<std::shared_ptr<ApiConnection>> open;
    std::set<std::shared_ptr<Channel>> unread;
};

} // namespace quoxelin::sim
