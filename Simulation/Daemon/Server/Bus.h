#pragma once

#include "Simulation/Daemon/Server/Channel.h"

#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>

namespace quoxelin::sim {

/// The beginning of a stream.
struct StreamOpening {
    /// Bytes sent instead of the HTTP header.
    std::optional<std::string> header;
    /// Whether to use the chunked transfer encoding.
    bool chunked = false;
};

/// The notification streams of all observers of the bus.
class Bus {
  public:
    struct Outside {
        /// The first line for a new observer.
        std::function<std::string()> greeting;
        /// An observer connected or disconnected.
        std::function<void()> observersChanged;
    };

    explicit Bus(Outside outside);

    /// Takes over a connection that requested the stream.
    void observe(std::shared_ptr<Channel> channel);
    /// Sends one notification line, without its line feed, to every observer.
    void announce(const std::string& line);
    /// Sends the bytes unchanged. `sent` is called once, when all observers have received them or
    /// disconnected, with the number of observers that received all of them.
    void sendRaw(std::string bytes, Pacing pacing, std::function<void(std::size_t)> sent);
    /// Whether to hold back everything, even for later observers.
    void setStalled(bool stalled);
    void setOpening(StreamOpening opening);
    /// Closes all streams and returns their number.
    std::size_t closeAll();
    std::size_t observers() const { return streams.size(); }

  private:
    struct Stream {
        std::shared_ptr<Channel> channel;
        bool chunked;
    };

    void watch(const std::shared_ptr<Channel>& channel);
    void gone(const std::shared_ptr<Channel>& channel);

    Outside outside;
    std::list<Stream> streams;
    StreamOpening opening;
    bool stalled = false;
};

} // namespace quoxelin::sim
