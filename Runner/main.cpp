#include "Platform/NSApplication.h"
#include "Platform/Platform.h"
#include "Platform/PlatformFactory.h"
#include "Runner/AppDelegate.h"
#include "Runner/CommandLine.h"
#include "Runner/Shared/AppLogger.h"

#include <cstdio>
#include <cstdlib>

namespace quoxelin {

namespace {

constexpr int usageExitCode = 2;

/// Unlike formatted output, this does not throw if the stream is closed.
void print(std::FILE* stream, const std::string& text) {
    std::fputs(text.c_str(), stream);
}

void report(const std::string& problem) {
    print(stderr, QUOXELIN_PROGRAM ": " + problem + '\n');
}

int launch(const LaunchOptions& options) {
    auto host = makePlatform(options);
    if (!host) {
        if (!host.error().text.empty())
            report(host.error().text);
        return host.error().exitCode;
    }
    // Never destroyed: threads, some of them blocked forever, use it until the process ends.
    auto& lasting = *host->release();
    const Platform& platform = lasting.platform();
    Platform::use(platform);
    const auto delegate = AppDelegate::make(AppDelegate::Dependencies::fromCurrentPlatform());
    lasting.observeMissingServices(
        [](const std::string& line) { AppLogger::shared().log("App", line); });
    const int code = platform.application.run(*delegate);
    lasting.settle();
    AppLogger::shared().flush(seconds(0.5));
    std::fflush(stdout); // all streams would include the log, whose disk may hang
    // For the same reason, do not run static destructors.
    std::_Exit(code);
}

int start(const CommandLine& line) {
    if (const auto* options = std::get_if<LaunchOptions>(&line))
        return launch(*options);
    if (const auto* mistake = std::get_if<UsageError>(&line)) {
        report(mistake->description);
        print(stderr, usageText(QUOXELIN_PROGRAM));
        return usageExitCode;
    }
    if (std::holds_alternative<ShowVersion>(line))
        print(stdout, QUOXELIN_PROGRAM " " QUOXELIN_VERSION "\n");
    else
        print(stdout, usageText(QUOXELIN_PROGRAM));
    return 0;
}

} // namespace

} // namespace quoxelin

int main(int argc, char** argv) {
    return quoxelin::start(
        quoxelin::parseCommandLine(quoxelin::withoutSystemArguments({argv, argv + argc})));
}
