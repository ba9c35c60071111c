#pragma once

#include "Platform/PlatformFactory.h"

#include <string>
#include <variant>
#include <vector>

namespace quoxelin {

struct ShowVersion {};

struct ShowHelp {};

/// The command line is not understood.
struct UsageError {
    std::string description;
};

using CommandLine = std::variant<LaunchOptions, ShowVersion, ShowHelp, UsageError>;

/// Parses the arguments; the first is the program's name. "--version" and "--help" may stand
/// anywhere, unless an earlier argument is not understood.
CommandLine parseCommandLine(const std::vector<std::string>& arguments);

/// The text for "--help" and after a usage error, in several lines.
std::string usageText(const std::string& program);

} // namespace quoxelin
