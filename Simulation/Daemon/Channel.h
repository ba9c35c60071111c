#pragma once

#include "Simulation/Daemon/Delivery.h"

#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>

#include <array>
#include <deque>
#include <functional>
#include <memory>
#include <string_view>

namespace quoxelin::sim {

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
    void wait(std::chrono::milliseconds delay, std::function<void()> handler);
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
        std::chrono::milliseconds pause;
        SentHandler sent; ///< with the last piece of a delivery
    };

    void proceed();
    void write();

    Socket socket;
    boost::asio::steady_timer pauseTimer;
    std::array<char, 16384> scratch{};
    std::deque<Piece> queue;
    bool busy = false; ///< a piece is being written or waits for its pause to pass
    bool stalled = false;
};

} // namespace quoxelin::sim
