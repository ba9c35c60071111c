// Appends log lines to a real file, which is opened and closed for each line.
#include "Platform/SystemLog.h"
#include "Runner/Shared/AppLogger.h"
#include "Simulation/System/SimulatedFoundation.h"
#include "Tests/Support/InlineDispatch.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace quoxelin::benchmarks {

namespace {

struct SilentLog final : SystemLog {
    void log(const std::string&) override {}
    void log(const std::string&, const std::string&, const std::string&) override {}
};

} // namespace

/// The bare system calls: open, append, close, for a file at the same depth.
void appendWithSystemCalls(benchmark::State& state) {
    const testing::TemporaryDirectory directory;
    std::filesystem::create_directory(directory.path() / "Quoxelin");
    const auto path = directory.path() / "Quoxelin" / "app.log";
    const std::string line = "[HashiBus] 2024-05-01 13:02:03.417 Connected to socket\n";
    for (auto _ : state) {
        const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
        if (::write(file, line.data(), line.size()) < 0)
            std::abort();
        ::close(file);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(appendWithSystemCalls);

/// The whole path of one line, from the call to the file, on one thread.
void logLine(benchmark::State& state) {
    const testing::TemporaryDirectory directory;
    testing::InlineDispatch dispatch;
    SimulatedFileManager files;
    files.applicationSupport = {directory.path()};
    SilentLog systemLog;
    AppLogger logger({dispatch, files, systemLog});
    for (auto _ : state)
        logger.log("HashiBus", "Connected to socket");
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(logLine);

} // namespace quoxelin::benchmarks
