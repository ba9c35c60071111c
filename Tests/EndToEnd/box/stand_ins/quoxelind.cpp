// Stands in for the daemon: "up" starts quoxelind-sim if it is not running, and ends when it
// answers.
//
// Files in /run/stand-ins, for tests:
//   calls         each call of this program, a line of JSON
//   sim-options   more command-line options for quoxelind-sim
//   sim.in        a named pipe for its steering commands
//   sim.out       its answers and events

#include "Calls.h"

#include <chrono>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>

namespace {

constexpr const char* socketPath = "/var/run/quoxelind.socket";
/// quoxelind-sim under the daemon's name.
constexpr const char* program = "/usr/libexec/stand-ins/quoxelind";
constexpr std::chrono::seconds patience{10};

bool isServed() {
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, socketPath);
    const bool served =
        ::connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    ::close(descriptor);
    return served;
}

[[noreturn]] void becomeSimulation() {
    ::setsid();
    // Everyone may connect, as to the daemon.
    ::umask(0);
    // The pipe is also open for writing, so that it does not reach its end between two tests.
    const auto command = std::string("exec ") + program + " --socket " + socketPath +
                         " $(cat /run/stand-ins/sim-options 2>/dev/null)"
                         " <>/run/stand-ins/sim.in >>/run/stand-ins/sim.out 2>&1";
    ::execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    ::_exit(127);
}

int up() {
    if (isServed()) {
        std::puts("quoxelind runs already");
        return 0;
    }
    const pid_t child = ::fork();
    if (child < 0)
        return 1;
    if (child == 0)
        becomeSimulation();
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!isServed()) {
        if (std::chrono::steady_clock::now() > end) {
            std::puts("quoxelind does not come up");
            return 1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    std::puts("quoxelind is up");
    return 0;
}

} // namespace

int main(int, char** arguments) {
    stand_ins::noteCall(arguments);
    const std::string command = arguments[1] == nullptr ? "" : arguments[1];
    if (command == "up")
        return up();
    std::puts("usage: quoxelind up [--conductor-host HOST] [--signal-host HOST]");
    return command == "--help" ? 0 : 2;
}
