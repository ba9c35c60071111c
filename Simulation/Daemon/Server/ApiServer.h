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

    /// Begins to listen, or continues. Replaces a socket file that is not served. The failure text
    /// when the path is too long, not a socket or served, or when the system refuses.
    std::optional<std::string> listen();

    /// Stops listening, so that connecting is refused. Connections stay.
    void refuse();

    /// Closes new connections with their first bytes unread, which the client's next read sees as
    /// a connection reset.
    void setResetting(bool reset) { resetting = reset; }

    /// Answers how many there were.
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
    /// Before another attempt to accept.
    boost::asio::steady_timer pause;
    /// The inode of the socket file that is ours.
    std::optional<unsigned long long> ownFile;
    bool resetting = false;
    std::set<std::shared_ptr<ApiConnection>> open;
    std::set<std::shared_ptr<Channel>> unread;
};

} // namespace quoxelin::sim
