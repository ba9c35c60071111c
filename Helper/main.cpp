#include "Helper/Service.h"

#include <cstdio>
#include <cstdlib>
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

int run() {
    giveMemoryBack();
    ::openlog("quoxelin-helper", LOG_PID, LOG_AUTHPRIV);
    Service service(QUOXELIN_BUNDLE_ROOT,
                    [](const std::string& line) { ::syslog(LOG_WARNING, "%s", line.c_str()); });
    if (const auto served = service.serve(); !served)
        return fail(served.error());
    return EXIT_SUCCESS;
}

} // namespace

} // namespace quoxelin::helper

/// Started by the system bus, as root. Nothing that whoever starts it may say changes what it does:
/// it takes no arguments, forgets its environment and knows its installation by heart.
int main(int argc, char**) {
    if (argc != 1)
        return quoxelin::helper::fail("it takes no arguments; the system bus starts it");
    if (::clearenv() != 0 || !quoxelin::helper::haveStandardDescriptors())
        return EXIT_FAILURE;
    ::umask(077);
    return quoxelin::helper::run();
}
