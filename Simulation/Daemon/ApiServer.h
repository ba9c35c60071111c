#pragma once

#include "Simulation/Daemon/ApiConnection.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>

#include <cstddef>
#include <optional>
#include <set>
#include <string>

namespace quoxelin::sim {

/// What happens to connections from now on.
enum class Accepting {
    serve,  ///< requests are read and answered
    reset,  ///< closed with the first bytes unread, which the client's next read sees as a
            ///< connection reset
    ignore, ///< held open and never read
};

/// Listens on the Unix socket and keeps the connections that are not notification streams.
class ApiServer {
  public:
    ApiServer(boost::asio::io_context& context, std::string socketPath, ApiOutside outside);
    ~ApiServer();

    /// Begins to listen. A socket file that nobody serves is replaced. The failure text when the
    /// path is too long or no socket, when somebody serves it, or when the system refuses; absent
    /// on success. Listening already is a success.
    std::optional<std::string> listen();

    /// Stops listening: connecting is refused, or finds no file when it is removed. Connections
    /// stay.
    void refuse(bool removeFile);
    void setAccepting(Accepting how);
    /// How many there were.
    std::size_t closeConnections();
    std::size_t connections() const { return open.size() + ignored.size(); }

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
    ApiOutside outside;
    Protocol::acceptor acceptor;
    boost::asio::steady_timer pause;           ///< before another attempt to accept
    std::optional<unsigned long long> ownFile; ///< inode of the socket file that is ours
    Accepting accepting = Accepting::serve;
    std::set<std::shared_ptr<ApiConnection>> open;
    std::set<std::shared_ptr<Channel>> ignored; ///< neither read nor answered
};

} // namespace quoxelin::sim
