#include "Simulation/Daemon/Server/Channel.h"

#include <boost/asio/write.hpp>
#include <utility>

namespace quoxelin::sim {

namespace asio = boost::asio;
using ErrorCode = boost::system::error_code;

Channel::Channel(Socket socket)
    : socket(std::move(socket)), pauseTimer(this->socket.get_executor()) {}

void Channel::read(ReadHandler handler) {
    socket.async_read_some(
        asio::buffer(scratch), [self = shared_from_this(),
                                handler = std::move(handler)](ErrorCode error, std::size_t count) {
            if (self->isOpen())
                handler(std::string_view(self->scratch.data(), error ? 0 : count));
        });
}

void Channel::waitUntilReadable(std::function<void()> handler) {
    socket.async_wait(Socket::wait_read,
                      [self = shared_from_this(), handler = std::move(handler)](ErrorCode) {
                          if (self->isOpen())
                              handler();
                      });
}

void Channel::send(Delivery delivery, SentHandler handler) {
    const std::string_view all = *delivery.bytes;
    std::size_t from = 0;
    Duration pause{0};
    for (const std::size_t offset : delivery.pacing.split) {
        if (offset > from && offset < all.size()) {
            queue.push_back({delivery.bytes, all.substr(from, offset - from), pause, {}});
            from = offset;
            pause = delivery.pacing.pause;
        }
    }
    queue.push_back({delivery.bytes, all.substr(from), pause, std::move(handler)});
    proceed();
}

void Channel::setStalled(bool stall) {
    stalled = stall;
    proceed();
}

void Channel::proceed() {
    if (busy || stalled || queue.empty() || !isOpen())
        return;
    busy = true;
    if (queue.front().pause.count() == 0) {
        write();
        return;
    }
    pauseTimer.expires_after(queue.front().pause);
    pauseTimer.async_wait([self = shared_from_this()](ErrorCode) {
        if (self->isOpen())
            self->write();
    });
}

void Channel::write() {
    const std::string_view bytes = queue.front().bytes;
    asio::async_write(socket, asio::buffer(bytes.data(), bytes.size()),
                      [self = shared_from_this()](ErrorCode error, std::size_t) {
                          if (!self->isOpen())
                              return;
                          if (error) {
                              self->close();
                              return;
                          }
                          self->busy = false;
                          const SentHandler sent = std::move(self->queue.front().sent);
                          self->queue.pop_front();
                          if (sent)
                              sent(true);
                          self->proceed();
                      });
}

void Channel::close() {
    ErrorCode ignored;
    pauseTimer.cancel();
    socket.close(ignored);
    for (const Piece& piece : std::exchange(queue, {}))
        if (piece.sent)
            piece.sent(false);
}

} // namespace quoxelin::sim
