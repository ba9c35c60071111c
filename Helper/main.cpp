#include "Helper/Service.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <malloc.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

namespace quoxelin::helper {

namespace {

/// Where a descriptor is missing among the first three, the next file opened would be taken for
/// standard output.
bool haveStandardDescriptors() {
    int descriptor = -1;
    do
        descriptor = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    return descriptor >= 0 && ::close(descriptor) == 0;
}

int fail(const std::string& problem) {
    std::fprintf(stderr, "quoxelin-helper: %s\n", problem.c_str());
    return EXIT_FAILURE;
}

/// Large messages come and go; their memory is not kept for the next one.
void giveMemoryBack() {
    ::mallopt(M_MMAP_THRESHOLD, 128 * 1024);
    ::mallopt(M_TRIM_THRESHOLD, 128 * 1024);
}

/// A connection whose end ends the event loop, and to which the bus delivers no descriptors. Null
/// with the number of the error.
Owned<sd_bus> connectToSystemBus(sd_event* event, int& outcome) {
    auto bus = made<sd_bus>(&sd_bus_new);
    outcome =
        bus ? sd_bus_set_address(bus.get(), "unix:path=/run/dbus/system_bus_socket") : -ENOMEM;
    if (outcome >= 0)
        outcome = sd_bus_set_bus_client(bus.get(), 1);
    if (outcome >= 0)
        outcome = sd_bus_negotiate_fds(bus.get(), 0);
    if (outcome >= 0)
        outcome = sd_bus_set_exit_on_disconnect(bus.get(), 1);
    if (outcome >= 0)
        outcome = sd_bus_start(bus.get());
    if (outcome >= 0)
        outcome = sd_bus_attach_event(bus.get(), event, SD_EVENT_PRIORITY_NORMAL);
    return outcome >= 0 ? std::move(bus) : nullptr;
}

/// The loop ends for SIGTERM, and learns of programs that end.
int takeSignals(sd_event* event) {
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGTERM);
    ::sigaddset(&signals, SIGCHLD);
    ::sigprocmask(SIG_BLOCK, &signals, nullptr);
    return sd_event_add_signal(event, nullptr, SIGTERM, nullptr, nullptr);
}

int run() {
    giveMemoryBack();
    ::openlog("quoxelin-helper", LOG_PID, LOG_AUTHPRIV);
    const auto event = made<sd_event>(&sd_event_new);
    int outcome = event ? takeSignals(event.get()) : -ENOMEM;
    const auto calls = outcome >= 0 ? connectToSystemBus(event.get(), outcome) : nullptr;
    const auto questions = calls ? connectToSystemBus(event.get(), outcome) : nullptr;
    if (!questions)
        return fail(std::string("cannot serve: ") + std::strerror(-outcome));
    Service service(event.get(), calls.get(), questions.get(), QUOXELIN_BUNDLE_ROOT,
                    [](const std::string& line) { ::syslog(LOG_WARNING, "%s", line.c_str()); });
    outcome = service.begin();
    if (outcome >= 0)
        outcome = sd_event_loop(event.get());
    return outcome == 0 ? EXIT_SUCCESS : fail("no bus, or not its name");
}

} // namespace

} // namespace quoxelin::helper

/// Started by the system bus, as root. Its caller cannot change what it does: it takes no
/// arguments, clears its environment and has the installation's paths built in.
int main(int argc, char**) {
    if (argc != 1)
        return quoxelin::helper::fail("it takes no arguments; the system bus starts it");
    if (::clearenv() != 0 || !quoxelin::helper::haveStandardDescriptors())
        return EXIT_FAILURE;
    ::umask(077);
    return quoxelin::helper::run();
}
