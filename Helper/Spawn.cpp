#include "Helper/Spawn.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace quoxelin::helper {

namespace {

/// All that the new process needs, made ready before it is forked off.
struct Plan {
    int executable;
    int output;
    int failure;
    std::vector<char*> words;
};

bool redirect(int output) {
    const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    return nothing >= 0 && ::dup2(nothing, STDIN_FILENO) >= 0 &&
           ::dup2(output, STDOUT_FILENO) >= 0 && ::dup2(output, STDERR_FILENO) >= 0;
}

void resetSignals() {
    struct sigaction standard = {};
    standard.sa_handler = SIG_DFL;
    // Some numbers cannot be set, and need not be.
    for (int number = 1; number <= SIGRTMAX; ++number)
        ::sigaction(number, &standard, nullptr);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// The new process. Other threads may have held any lock when it was forked off, so nothing here
/// allocates or locks.
[[noreturn]] void become(const Plan& plan) {
    static char path[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
    static char language[] = "LANG=C.UTF-8";
    static char* const environment[] = {path, language, nullptr};
    resetSignals();
    ::umask(022);
    // Closed when the program begins, and not before: the program is one of them.
    if (::setsid() >= 0 && ::chdir("/") == 0 && redirect(plan.output) &&
        ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC) == 0)
        ::execveat(plan.executable, "", plan.words.data(), environment, AT_EMPTY_PATH);
    const int reason = errno;
    [[maybe_unused]] const auto told = ::write(plan.failure, &reason, sizeof reason);
    ::_exit(127);
}

/// Forks with all signals blocked, so that no handler of ours runs in the new process.
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

/// Why the program could not be run; 0 when it runs.
int failureOf(const FileDescriptor& reading) {
    int reason = 0;
    ssize_t count = -1;
    do
        count = ::read(reading.get(), &reason, sizeof reason);
    while (count < 0 && errno == EINTR);
    return count == sizeof reason ? reason : 0;
}

} // namespace

tl::expected<Spawned, std::string> spawn(const FileDescriptor& executable,
                                         const std::vector<std::string>& words) {
    auto output = makePipe();
    auto failure = makePipe();
    if (!output || !failure)
        return tl::unexpected("no pipe: " + (output ? failure.error() : output.error()));
    if (::fcntl(output->reading.get(), F_SETFL, O_NONBLOCK) != 0)
        return tl::unexpected(std::string(std::strerror(errno)));
    Plan plan = {executable.get(), output->writing.get(), failure->writing.get(), {}};
    for (const auto& word : words)
        plan.words.push_back(const_cast<char*>(word.c_str()));
    plan.words.push_back(nullptr);

    const pid_t process = forkInto(plan);
    if (process < 0)
        return tl::unexpected(std::string(std::strerror(errno)));
    output->writing.reset();
    failure->writing.reset();
    if (const int reason = failureOf(failure->reading); reason != 0) {
        while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
        }
        return tl::unexpected(std::string(std::strerror(reason)));
    }
    return Spawned{process, std::move(output->reading)};
}

} // namespace quoxelin::helper
