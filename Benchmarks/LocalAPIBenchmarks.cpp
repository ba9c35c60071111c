// One exchange with a daemon on a real socket, compared with a plain loop of the same system calls.
#include "Base/UnixSocket.h"
#include "Tests/Support/InlineLink.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace quoxelin::benchmarks {

namespace {

constexpr std::string_view request = "GET /localapi/v0/status HTTP/1.1\r\n"
                                     "Host: local-quoxelind.sock\r\n"
                                     "Content-Length: 0\r\n"
                                     "Connection: close\r\n\r\n";
constexpr std::string_view reply =
    "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nConnection: close\r\n\r\n"
    R"({"backend_state":"Running","quoxelin_ips":["100.64.0.1","fd7a::1"],)"
    R"("self":{"id":17,"host_name":"laptop","quoxelin_ips":["100.64.0.1"]},"jailed":false})";

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.data(), path.size());
    return address;
}

/// Answers each connection with the same reply and closes it. Runs on a separate thread.
class Daemon {
  public:
    Daemon() {
        const auto address = addressOf(path);
        listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
        if (::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(listener, 8) != 0)
            std::abort();
        thread = std::thread([this] { serve(); });
    }
    ~Daemon() {
        ::shutdown(listener, SHUT_RDWR);
        thread.join();
        ::close(listener);
    }

    const testing::TemporaryDirectory directory;
    const std::string path = directory.path() / "socket";

  private:
    void serve() const {
        std::array<char, 4'096> scratch{};
        for (int client; (client = ::accept(listener, nullptr, nullptr)) >= 0;) {
            if (::read(client, scratch.data(), scratch.size()) > 0 &&
                ::write(client, reply.data(), reply.size()) < 0)
                std::abort();
            ::close(client);
        }
    }

    int listener = -1;
    std::thread thread;
};

/// Runs the exchanges and reports the median and 99th percentile of their durations.
template <typename Exchange>
void measure(benchmark::State& state, Exchange exchange) {
    using Clock = std::chrono::steady_clock;
    std::vector<double> durations;
    for (auto _ : state) {
        const auto begin = Clock::now();
        exchange();
        durations.push_back(
            std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
    }
    std::sort(durations.begin(), durations.end());
    state.counters["p50_us"] = durations[durations.size() / 2];
    state.counters["p99_us"] = durations[durations.size() * 99 / 100];
}

} // namespace

void exchangeWithSystemCalls(benchmark::State& state) {
    const Daemon daemon;
    const auto address = addressOf(daemon.path);
    std::array<char, 16'384> scratch{};
    measure(state, [&] {
        const int client = ::socket(AF_UNIX, SOCK_STREAM, 0);
        if (::connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            ::write(client, request.data(), request.size()) < 0)
            std::abort();
        while (::read(client, scratch.data(), scratch.size()) > 0) {
        }
        ::close(client);
    });
}
BENCHMARK(exchangeWithSystemCalls)->UseRealTime()->Unit(benchmark::kMicrosecond);

/// A complete exchange: request, reply, header, status record, completion.
void exchangeWithLocalAPIClient(benchmark::State& state) {
    const Daemon daemon;
    testing::InlineLink link(
        [&]() -> std::unique_ptr<Connection> { return *UnixSocket::connect(daemon.path); });
    auto api = link.api();
    measure(state, [&] {
        api.getStatus([](const auto& status) {
            if (!status || status->selfNode->id != 17)
                std::abort();
        });
    });
}
BENCHMARK(exchangeWithLocalAPIClient)->UseRealTime()->Unit(benchmark::kMicrosecond);

} // namespace quoxelin::benchmarks
