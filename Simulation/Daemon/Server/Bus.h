#pragma once

#include "Simulation/Daemon/Server/Channel.h"

#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>

namespace quoxelin::sim {

/// How a stream begins.
struct StreamOpening {
    /// Bytes sent in place of the HTTP header.
    std::optional<std::string> header;
    /// Lines travel in the chunked transfer encoding.
    bool chunked = false;
};

/// The notification streams: every observer of the bus, and what is sent to all of them.
class Bus {
  public:
    struct Outside {
        /// The line that tells a new observer the whole state.
        std::function<std::string()> greeting;
        /// One came or went.
        std::function<void()> observersChanged;
    };

    explicit Bus(Outside outside);

    /// Takes a connection whose request asked for the stream.
    void observe(std::shared_ptr<Channel> channel);
    /// Sends one notification line, without its line feed, to every observer.
    void announce(const std::string& line);
    /// Sends bytes as they are. `sent` is called once with the number of observers that got all of
    /// them, when the last one did or went away.
    void sendRaw(std::string bytes, Pacing pacing, std::function<void(std::size_t)> sent);
    /// Holds back what is sent, also to observers still to come.
    void setStalled(bool stalled);
    void setOpening(StreamOpening opening);
    /// Closes all streams; how many there were.
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
