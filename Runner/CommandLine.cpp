#include "Runner/CommandLine.h"

#include "Base/Url.h"

#include <fmt/format.h>

namespace quoxelin {

namespace {

constexpr const char* callbackScheme = "quoxelin";

bool isCallbackURL(const std::string& argument) {
    const auto url = Url::parse(argument);
    return url && url->scheme() == callbackScheme;
}

} // namespace

CommandLine parseCommandLine(const std::vector<std::string>& arguments) {
    LaunchOptions options;
    options.program = arguments.empty() ? "quoxelin-desktop" : arguments.front();
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const auto& argument = arguments[i];
        if (argument == "--version")
            return ShowVersion{};
        if (argument == "--help")
            return ShowHelp{};
        if (argument == "--socket") {
            if (++i == arguments.size() || arguments[i].empty())
                return UsageError{"--socket needs a path"};
            options.socketPath = arguments[i];
        } else if (isCallbackURL(argument)) {
            if (options.callbackURL)
                return UsageError{"more than one callback URL"};
            options.callbackURL = argument;
        } else {
            return UsageError{fmt::format("unknown argument \"{}\"", argument)};
        }
    }
    return options;
}

std::string usageText(const std::string& program) {
    return fmt::format(R"(Usage: {} [--socket PATH] [CALLBACK-URL]

  --socket PATH   (development) where the daemon listens, instead of
                  /var/run/quoxelind.socket
  --version       print the version
  --help          print this text
  CALLBACK-URL    a URL "quoxelin:..." that a browser hands over after a login
)",
                       program);
}

} // namespace quoxelin
