#pragma once

#include "Platform/PlatformFactory.h"

#include <string>
#include <variant>
#include <vector>

namespace quoxelin {

/// "--version": print it and be done.
struct ShowVersion {};

/// "--help".
struct ShowHelp {};

/// The command line says nothing that the program understands.
struct UsageError {
    std::string description;
};

using CommandLine = std::variant<LaunchOptions, ShowVersion, ShowHelp, UsageError>;

/// Reads the arguments, the program's name first. "--version" and "--help" hold wherever they
/// stand, unless something before them is not understood.
CommandLine parseCommandLine(const std::vector<std::string>& arguments);

/// How the program is called, for "--help" and after a mistake; several lines.
std::string usageText(const std::string& program);

} // namespace quoxelin
