#pragma once

#include "Base/Dispatch.h"

#include <array>
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace quoxelin::sim {

/// How bytes are put on a socket: in one go, or cut at offsets with a pause before each further
/// piece, so that the reader sees them arrive in separate reads.
struct Pacing {
    /// Rising offsets into the bytes; those at or beyond the end do nothing.
    std::vector<std::size_t> split;
    Duration pause{0};
};

/// Bytes on their way to one or more sockets. They are shared: a large network map is held once.
struct Delivery {
    std::shared_ptr<const std::string> bytes;
    Pacing pacing;
};

/// One accepted connection, on the Unix socket or the login page's port. What is sent leaves in
/// order and as paced; it can be held back. Handlers keep the channel alive. After `close()` no
/// read handler is called any more.
class Channel : public std::enable_shared_from_this<Channel> {
  public:
    using Socket = boost::asio::generic::stream_protocol::socket;
    /// The bytes read; empty once the client is gone.
    using ReadHandler = std::function<void(std::string_view bytes)>;
    /// Whether all bytes of the delivery were written.
    using SentHandler = std::function<void(bool sent)>;

    explicit Channel(Socket socket);

    /// Reads once, as much as there is.
    void read(ReadHandler handler);
    /// Waits until there is something to read, or the client is gone, without reading.
    void waitUntilReadable(std::function<void()> handler);
    /// Calls the handler after `delay`, unless the channel has been closed by then.
    void wait(Duration delay, std::function<void()> handler);
    /// Queues the bytes behind those already queued.
    void send(Delivery delivery, SentHandler handler = {});
    /// Holds back what is queued from the next piece on, or lets it go again.
    void setStalled(bool stalled);
    /// Closes at once; what is still queued is not sent, and its handlers hear so before this
    /// returns.
    void close();
    bool isOpen() const { return socket.is_open(); }

  private:
    struct Piece {
        std::shared_ptr<const std::string> owner;
        std::string_view bytes;
        Duration pause;
        /// With the last piece of a delivery.
        SentHandler sent;
    };

    void proceed();
    void write();

    Socket socket;
    boost::asio::steady_timer pauseTimer;
    std::array<char, 16384> scratch{};
    std::deque<Piece> queue;
    /// A piece is being written or waits for its pause to pass.
    bool busy = false;
    bool stalled = false;
};

} // namespace quoxelin::sim
