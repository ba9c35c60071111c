#include "Helper/macOS/CodeSigning.h"
#include "Helper/macOS/Listener.h"

#include <cstdio>
#include <cstdlib>
#include <dispatch/dispatch.h>
#include <os/log.h>
#include <sys/stat.h>

/// Started by launchd, as root, for the first message to its Mach service.
int main(int argc, char**) {
    using namespace quoxelin::helper;
    if (argc != 1) {
        std::fprintf(stderr, "%s takes no arguments; launchd starts it\n", machServiceName);
        return 2;
    }
    const os_log_t log = os_log_create(machServiceName, "requests");
    const auto write = [log](const std::string& line) { os_log(log, "%{public}s", line.c_str()); };
    const auto team = teamOfThisProgram();
    if (!team) {
        write("This program is signed by no team, so it can tell no client from another.");
        return EXIT_FAILURE;
    }
    ::umask(022);
    // The helper lies in Contents/MacOS, so this is the application's bundle.
    const Listener listener(NSBundle.mainBundle.bundlePath.UTF8String, *team, write);
    dispatch_main();
}
