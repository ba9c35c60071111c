#include "Helper/Spawn.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace quoxelin::helper {

namespace {

/// Everything that the new process needs, prepared before the fork.
struct Plan {
    int directory;
    const char* name;
    int output;
    int failure;
    std::vector<char*> words;
};

bool redirect(int output) {
    const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    return nothing >= 0 && ::dup2(nothing, STDIN_FILENO) >= 0 &&
           ::dup2(output, STDOUT_FILENO) >= 0 && ::dup2(output, STDERR_FILENO) >= 0;
}

/// Closes all descriptors except the standard ones and these two, which are closed on exec.
bool closeOthers(unsigned one, unsigned other) {
    const auto closeRange = [](unsigned first, unsigned last) {
        return first > last || ::close_range(first, last, 0) == 0;
    };
    const auto [low, high] = std::minmax(one, other);
    return closeRange(STDERR_FILENO + 1, low - 1) && closeRange(low + 1, high - 1) &&
           closeRange(high + 1, std::numeric_limits<unsigned>::max());
}

void resetSignals() {
    struct sigaction standard = {};
    standard.sa_handler = SIG_DFL;
    // Ignore failures: some signals cannot be set.
    for (int number = 1; number <= SIGRTMAX; ++number)
        ::sigaction(number, &standard, nullptr);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// Runs in the new process. Other threads may have held locks during the fork, so this must not
/// allocate or lock.
[[noreturn]] void become(const Plan& plan) {
    static char path[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
    static char language[] = "LANG=C.UTF-8";
    static char* const environment[] = {path, language, nullptr};
    resetSignals();
    ::umask(022);
    // Executed by name, because every kernel names the process after it.
    if (::setsid() >= 0 && ::chdir("/") == 0 && redirect(plan.output) &&
        closeOthers(static_cast<unsigned>(plan.directory), static_cast<unsigned>(plan.failure)))
        ::execveat(plan.directory, plan.name, plan.words.data(), environment, AT_SYMLINK_NOFOLLOW);
    const int reason = errno;
    [[maybe_unused]] const auto told = ::write(plan.failure, &reason, sizeof reason);
    ::_exit(127);
}

/// Forks with all signals blocked, so that our handlers do not run in the new process.
pid_t forkInto(const Plan& plan) {
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t process = ::fork();
    if (process == 0)
        become(plan);
    const int reason = errno;
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    errno = reason;
    return process;
}

struct Pipe {
    FileDescriptor reading;
    FileDescriptor writing;
};

tl::expected<Pipe, std::string> makePipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return tl::unexpected(std::string(std::strerror(errno)));
    return Pipe{FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

/// The error number if the program could not be run, otherwise 0.
int failureOf(const FileDescriptor& reading) {
    int reason = 0;
    ssize_t count = -1;
    do
        count = ::read(reading.get(), &reason, sizeof reason);
    while (count < 0 && errno == EINTR);
    return count == sizeof reason ? reason : 0;
}

/// A memory file of fixed size.
tl::expected<FileDescriptor, std::string> makeOutput() {
    FileDescriptor output(::memfd_create("quoxelin-output", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!output || ::ftruncate(output.get(), longestOutput) != 0 ||
        ::fcntl(output.get(), F_ADD_SEALS, F_SEAL_GROW | F_SEAL_SHRINK | F_SEAL_SEAL) != 0)
        return tl::unexpected(std::string(std::strerror(errno)));
    return output;
}

} // namespace

tl::expected<Spawned, std::string> spawn(const TrustedFile& executable,
                                         const std::vector<std::string>& words) {
    auto output = makeOutput();
    auto failure = makePipe();
    if (!output || !failure)
        return tl::unexpected("no output: " + (output ? failure.error() : output.error()));
    Plan plan = {executable.directory.get(),
                 executable.name.c_str(),
                 output->get(),
                 failure->writing.get(),
                 {}};
    for (const auto& word : words)
        plan.words.push_back(const_cast<char*>(word.c_str()));
    plan.words.push_back(nullptr);

    const pid_t process = forkInto(plan);
    if (process < 0)
        return tl::unexpected(std::string(std::strerror(errno)));
    failure->writing.reset();
    if (const int reason = failureOf(failure->reading); reason != 0) {
        while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
        }
        return tl::unexpected(std::string(std::strerror(reason)));
    }
    return Spawned{process, std::move(*output)};
}

} // namespace quoxelin::helper
