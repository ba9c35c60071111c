// From the bytes of the notification stream to decoded notifications, compared with a JSON library
// that parses the same bytes.
#include "Base/UnixSocket.h"
#include "Runner/Models/HashiBus/HashiBusNotify.h"
#include "Simulation/Daemon/NetworkMap.h"
#include "Tests/Support/InlineLink.h"

#include <array>
#include <benchmark/benchmark.h>
#include <cstring>
#include <simdjson.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace quoxelin::benchmarks {

namespace {

constexpr std::string_view header = "HTTP/1.1 200 OK\r\n\r\n";
constexpr std::size_t bytesOfAStream = 8'000'000;
constexpr std::size_t readSize = 4'096;

/// A running node's notification, about 350 bytes per peer, without the line feed.
std::string networkMapLine(std::int64_t peers) {
    return R"({"State":"Running","NetMap":)" +
           sim::NetworkMap().text({}, static_cast<std::size_t>(peers)) + "}";
}

/// The header and enough copies of the line for a stream of a fixed length.
struct Stream {
    explicit Stream(const std::string& line)
        : lines(std::max<std::size_t>(1, bytesOfAStream / line.size())), bytes(header) {
        for (std::size_t i = 0; i < lines; ++i)
            bytes.append(line) += '\n';
    }
    std::size_t lines;
    std::string bytes;
};

void setBytes(benchmark::State& state, std::size_t bytesPerIteration) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytesPerIteration));
}

void followAll(benchmark::State& state, testing::InlineLink& link, const Stream& stream) {
    std::size_t received = 0;
    link.followOneStream([&](const HashiBusNotify& notify) {
        benchmark::DoNotOptimize(&notify);
        ++received;
    });
    if (received != stream.lines)
        state.SkipWithError("lines were lost");
}

void peers(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(10)->Arg(1'000)->Arg(20'000)->Unit(benchmark::kMillisecond);
}

} // namespace

/// The simdjson library alone, with a reused parser and padded input.
void parseWithTheLibrary(benchmark::State& state) {
    const simdjson::padded_string line(networkMapLine(state.range(0)));
    simdjson::dom::parser parser;
    for (auto _ : state)
        benchmark::DoNotOptimize(parser.parse(line).error());
    setBytes(state, line.size());
}
BENCHMARK(parseWithTheLibrary)->Apply(peers);

/// Decodes one line into the record.
void decodeNotification(benchmark::State& state) {
    const auto line = networkMapLine(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(json::decode<HashiBusNotify>(line).has_value());
    setBytes(state, line.size());
}
BENCHMARK(decodeNotification)->Apply(peers);

/// Framing and decoding, without the system calls.
void followStreamInMemory(benchmark::State& state) {
    const Stream stream(networkMapLine(state.range(0)));
    testing::InlineLink link(stream.bytes, readSize);
    for (auto _ : state)
        followAll(state, link, stream);
    setBytes(state, stream.bytes.size());
}
BENCHMARK(followStreamInMemory)->Apply(peers);

/// From a real socket, filled by another thread, to decoded notifications. Compare the elapsed
/// time: the processor time does not include the other thread.
void followStreamFromSocket(benchmark::State& state) {
    const Stream stream(networkMapLine(state.range(0)));
    std::thread daemon;
    testing::InlineLink link([&] {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) != 0)
            std::abort();
        daemon = std::thread([&stream, theirs = ends[1]] {
            for (std::size_t sent = 0; sent < stream.bytes.size();)
                sent += static_cast<std::size_t>(
                    ::write(theirs, stream.bytes.data() + sent, stream.bytes.size() - sent));
            ::close(theirs);
        });
        return std::make_unique<UnixSocket>(ends[0]);
    });
    for (auto _ : state) {
        followAll(state, link, stream);
        daemon.join();
    }
    setBytes(state, stream.bytes.size());
}
BENCHMARK(followStreamFromSocket)->Apply(peers)->UseRealTime();

/// Framing alone: one line of 5 MB in reads of 4,096 bytes. Its first bytes stop the parser at
/// once.
void frameOneLongLine(benchmark::State& state) {
    const std::string bytes =
        std::string(header) + "\xEF\xBB\xBF" + std::string(5'000'000, 'x') + '\n';
    testing::InlineLink link(bytes, readSize);
    for (auto _ : state)
        link.followOneStream([](const HashiBusNotify&) {});
    setBytes(state, bytes.size());
}
BENCHMARK(frameOneLongLine)->Unit(benchmark::kMillisecond);

/// The lower bound for framing: copies each byte into a buffer and reads it once.
void copyAndSearchOneLongLine(benchmark::State& state) {
    const std::string bytes = std::string(5'000'000, 'x') + '\n';
    for (auto _ : state) {
        std::string buffer;
        const void* found = nullptr;
        std::array<char, readSize> scratch{};
        for (std::size_t at = 0; at < bytes.size(); at += readSize) {
            const auto count = std::min(readSize, bytes.size() - at);
            std::memcpy(scratch.data(), bytes.data() + at, count);
            buffer.append(scratch.data(), count);
            found = std::memchr(buffer.data() + at, '\n', count);
        }
        benchmark::DoNotOptimize(found);
    }
    setBytes(state, bytes.size());
}
BENCHMARK(copyAndSearchOneLongLine)->Unit(benchmark::kMillisecond);

} // namespace quoxelin::benchmarks
