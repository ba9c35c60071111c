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

/// How bytes are written: at once, or cut at offsets with a pause before each further piece, so
/// that they arrive in separate reads.
struct Pacing {
    /// Ascending offsets; those at or beyond the end are ignored.
    std::vector<std::size_t> split;
    Duration pause{0};
};

/// Bytes for one or more sockets. Shared, because a network map can be large.
struct Delivery {
    std::shared_ptr<const std::string> bytes;
    Pacing pacing;
};

/// One accepted connection, on the Unix socket or the login page's port. Sends in order, with the
/// given pauses. Handlers keep the channel alive. After `close()` no read handler is called.
class Channel : public std::enable_shared_from_this<Channel> {
  public:
    using Socket = boost::asio::generic::stream_protocol::socket;
    /// Receives the bytes read; empty if the client has disconnected.
    using ReadHandler = std::function<void(std::string_view bytes)>;
    /// Receives whether all bytes of the delivery were written.
    using SentHandler = std::function<void(bool sent)>;

    explicit Channel(Socket socket);

    /// Reads once, as much as is available.
    void read(ReadHandler handler);
    /// Waits, without reading, until there is something to read or the client disconnects.
    void waitUntilReadable(std::function<void()> handler);
    /// Appends the bytes to the queue.
    void send(Delivery delivery, SentHandler handler = {});
    /// Whether to hold back the queue from the next piece on.
    void setStalled(bool stalled);
    /// Closes at once. Drops the queue and calls its handlers before this returns.
    void close();
    bool isOpen() const { return socket.is_open(); }

  private:
    struct Piece {
        std::shared_ptr<const std::string> owner;
        std::string_view bytes;
        Duration pause;
        /// Set for the last piece of a delivery.
        SentHandler sent;
    };

    void proceed();
    void write();

    Socket socket;
    boost::asio::steady_timer pauseTimer;
    std::array<char, 16384> scratch{};
    std::deque<Piece> queue;
    /// A piece is being written, or waits for its pause.
    bool busy = false;
    bool stalled = false;
};

} // namespace quoxelin::sim
