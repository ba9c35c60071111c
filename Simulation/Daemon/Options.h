#pragma once

#include "Simulation/Daemon/DaemonModel.h"

#include <string>
#include <variant>
#include <vector>

namespace quoxelin::sim {

/// The options of the command line.
struct Options {
    std::string socketPath;
    DaemonModel::Settings model;
};

/// The program prints `text` and ends with this exit code: 0 on standard output, 2 on standard
/// error.
struct PrintAndExit {
    int exitCode = 0;
    std::string text;
};

/// Reads the arguments that follow the program's name.
std::variant<Options, PrintAndExit> readOptions(const std::vector<std::string>& arguments);

} // namespace quoxelin::sim
