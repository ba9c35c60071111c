// From the bytes of the notification stream to decoded notifications, compared with a JSON library
// that parses the same bytes.
#include "Runner/Models/HashiBus/HashiBusNotify.h"
#include "Simulation/Daemon/NetworkMap.h"
#include "Tests/Support/InlineLink.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cstring>
#include <simdjson.h>
#include <string>

namespace quoxelin::benchmarks {

namespace {

constexpr std::string_view header = "HTTP/1.1 200 OK\r\n\r\n";
constexpr std::size_t bytesOfAStream = 5'000'000;
constexpr std::size_t readSize = 4'096;

/// A running node's notification, about 350 bytes per peer, without the line feed.
std::string networkMapLine(std::int64_t peers) {
    return R"({"State":"Running","NetMap":)" +
           sim::NetworkMap().text({}, static_cast<std::size_t>(peers)) + "}";
}

/// The header and copies of the line.
struct Stream {
    Stream(const std::string& line, std::size_t lines) : lines(lines), bytes(header) {
        bytes.reserve(header.size() + lines * (line.size() + 1));
        for (std::size_t i = 0; i < lines; ++i)
            bytes.append(line) += '\n';
    }
    std::size_t lines;
    std::string bytes;
};

void setBytes(benchmark::State& state, std::size_t bytesPerIteration) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytesPerIteration));
}

/// At least 5 MB of lines of that length, none of which is parsed.
Stream streamOfLines(std::int64_t length) {
    const auto size = static_cast<std::size_t>(length);
    return {std::string(size, 'x'), std::max<std::size_t>(1, bytesOfAStream / size)};
}

/// Bytes in a line.
void lengths(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(100)->Arg(5'000'000)->Arg(100'000'000)->Unit(benchmark::kMillisecond);
}

void peers(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(10)->Arg(100)->Arg(1'000)->Arg(10'000)->Arg(20'000)->Unit(
        benchmark::kMillisecond);
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

/// Decodes one line into the record. As in the stream's buffer, there is room after the line.
void decodeNotification(benchmark::State& state) {
    auto line = networkMapLine(state.range(0));
    line.reserve(line.size() + simdjson::SIMDJSON_PADDING);
    for (auto _ : state)
        benchmark::DoNotOptimize(
            json::decode<HashiBusNotify>(line, simdjson::SIMDJSON_PADDING).has_value());
    setBytes(state, line.size());
}
BENCHMARK(decodeNotification)->Apply(peers);

/// From the bytes of that many notifications with 10 peers to the records, without the system
/// calls.
void followLines(benchmark::State& state) {
    const auto line = networkMapLine(10);
    const Stream stream(line, static_cast<std::size_t>(state.range(0)));
    testing::InlineLink link(stream.bytes, readSize);
    for (auto _ : state) {
        std::size_t received = 0;
        link.followOneStream([&](const HashiBusNotify& notify) {
            benchmark::DoNotOptimize(&notify);
            ++received;
        });
        if (received != stream.lines)
            state.SkipWithError("lines were lost");
    }
}
BENCHMARK(followLines)->RangeMultiplier(10)->Range(1, 10'000)->Unit(benchmark::kMillisecond);

/// Framing alone.
void frameLines(benchmark::State& state) {
    const auto stream = streamOfLines(state.range(0));
    testing::InlineLink link(stream.bytes, readSize);
    for (auto _ : state)
        link.followOneStream([](const HashiBusNotify&) {});
}
BENCHMARK(frameLines)->Apply(lengths);

/// The lower bound for framing: copies each byte into a buffer and searches it once.
void copyAndSearchLines(benchmark::State& state) {
    const auto stream = streamOfLines(state.range(0));
    for (auto _ : state) {
        std::string buffer;
        std::array<char, readSize> scratch{};
        for (std::size_t at = 0; at < stream.bytes.size(); at += readSize) {
            const auto count = std::min(readSize, stream.bytes.size() - at);
            std::memcpy(scratch.data(), stream.bytes.data() + at, count);
            auto searched = buffer.size();
            buffer.append(scratch.data(), count);
            std::size_t consumed = 0;
            while (const auto* found = static_cast<const char*>(
                       std::memchr(buffer.data() + searched, '\n', buffer.size() - searched))) {
                benchmark::DoNotOptimize(found);
                consumed = searched = static_cast<std::size_t>(found - buffer.data()) + 1;
            }
            buffer.erase(0, consumed);
        }
    }
}
BENCHMARK(copyAndSearchLines)->Apply(lengths);

} // namespace quoxelin::benchmarks
