#include "Simulation/Daemon/Server/Bus.h"

#include <fmt/format.h>
#include <utility>

namespace quoxelin::sim {

namespace {

constexpr const char* usualHeader =
    "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n{}\r\n\r\n";

std::shared_ptr<const std::string> share(std::string bytes) {
    return std::make_shared<const std::string>(std::move(bytes));
}

std::string framed(const std::string& line, bool chunked) {
    return chunked ? fmt::format("{:x}\r\n{}\n\r\n", line.size() + 1, line) : line + "\n";
}

} // namespace

Bus::Bus(Outside outside) : outside(std::move(outside)) {}

void Bus::observe(std::shared_ptr<Channel> channel) {
    channel->setStalled(stalled);
    const auto usual = fmt::format(usualHeader, opening.chunked ? "Transfer-Encoding: chunked"
                                                                : "Cache-Control: no-store");
    channel->send({share(opening.header.value_or(usual)), {}});
    channel->send({share(framed(outside.greeting(), opening.chunked)), {}});
    streams.push_back({channel, opening.chunked});
    watch(channel);
    outside.observersChanged();
}

void Bus::watch(const std::shared_ptr<Channel>& channel) {
    // Ignore what an observer sends; reading only detects that it disconnects.
    channel->read([this, channel](std::string_view bytes) {
        if (bytes.empty())
            gone(channel);
        else
            watch(channel);
    });
}

void Bus::gone(const std::shared_ptr<Channel>& channel) {
    channel->close();
    const auto removed =
        streams.remove_if([&](const Stream& stream) { return stream.channel == channel; });
    if (removed != 0)
        outside.observersChanged();
}

void Bus::announce(const std::string& line) {
    std::shared_ptr<const std::string> plain;
    for (const Stream& stream : streams) {
        if (stream.chunked) {
            stream.channel->send({share(framed(line, true)), {}});
            continue;
        }
        if (!plain)
            plain = share(framed(line, false));
        stream.channel->send({plain, {}});
    }
}

void Bus::sendRaw(std::string bytes, Pacing pacing, std::function<void(std::size_t)> sent) {
    struct Tally {
        std::size_t outstanding;
        std::size_t complete = 0;
    };
    if (streams.empty()) {
        sent(0);
        return;
    }
    const auto tally = std::make_shared<Tally>(Tally{streams.size()});
    const auto shared = share(std::move(bytes));
    for (const Stream& stream : streams) {
        stream.channel->send({shared, pacing}, [tally, sent](bool complete) {
            tally->complete += complete ? 1 : 0;
            if (--tally->outstanding == 0)
                sent(tally->complete);
        });
    }
}

void Bus::setStalled(bool stall) {
    stalled = stall;
    for (const Stream& stream : streams)
        stream.channel->setStalled(stall);
}

void Bus::setOpening(StreamOpening newOpening) {
    opening = std::move(newOpening);
}

std::size_t Bus::closeAll() {
    const std::list<Stream> closing = std::exchange(streams, {});
    for (const Stream& stream : closing)
        stream.channel->close();
    if (!closing.empty())
        outside.observersChanged();
    return closing.size();
}

} // namespace quoxelin::sim
