#include "Simulation/Daemon/Options.h"
#include "Simulation/Daemon/Server/Program.h"

#include <csignal>
#include <cstdio>

int main(int argc, char** argv) {
    using namespace quoxelin::sim;

    const auto read = readOptions({argv + 1, argv + argc});
    if (const auto* print = std::get_if<PrintAndExit>(&read)) {
        std::fputs(print->text.c_str(), print->exitCode == 0 ? stdout : stderr);
        return print->exitCode;
    }
    // Writing to a closed connection must fail, not end the process.
    std::signal(SIGPIPE, SIG_IGN);
    return Program(std::get<Options>(read)).run();
}
