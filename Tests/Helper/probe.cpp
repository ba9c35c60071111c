// The program that the helper runs in tests: it prints how it was started, or misbehaves.

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <string>
#include <sys/auxv.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Prints everything that a process inherits, one item per line.
int tellAll(int count, char** words) {
    for (int index = 0; index < count; ++index)
        std::printf("word %s\n", words[index]);
    // Kernels before 6.14 name the process after this.
    const std::string called = reinterpret_cast<const char*>(::getauxval(AT_EXECFN));
    std::printf("name %s\n", called.substr(called.rfind('/') + 1).c_str());
    for (char** variable = environ; *variable != nullptr; ++variable)
        std::printf("variable %s\n", *variable);
    char directory[4096] = "";
    std::printf("directory %s\n", ::getcwd(directory, sizeof directory));
    std::printf("mask %03o\n", static_cast<unsigned>(::umask(0)));
    std::printf("leads its session %d\n", ::getsid(0) == ::getpid());
    char byte = 0;
    std::printf("input %zd\n", ::read(STDIN_FILENO, &byte, 1));
    sigset_t blocked;
    ::sigprocmask(SIG_BLOCK, nullptr, &blocked);
    for (int number = 1; number <= SIGRTMAX; ++number) {
        struct sigaction action = {};
        const bool isIgnored =
            ::sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
        if (isIgnored || ::sigismember(&blocked, number) == 1)
            std::printf("signal %d is held back\n", number);
    }
    DIR* descriptors = ::opendir("/proc/self/fd");
    while (const dirent* entry = ::readdir(descriptors)) {
        const int number = std::atoi(entry->d_name);
        if (entry->d_name[0] != '.' && number != ::dirfd(descriptors))
            std::printf("descriptor %d\n", number);
    }
    ::closedir(descriptors);
    std::fprintf(stderr, "error output\n");
    return 0;
}

/// Writes two mebibytes of two-byte characters, shifted by one byte.
int writeALot() {
    std::putchar('x');
    for (int count = 0; count < 1024 * 1024; ++count)
        std::fputs("\xC3\xA9", stdout);
    return 0;
}

void waitFor(const std::string& file) {
    while (::access(file.c_str(), F_OK) != 0)
        ::usleep(1000);
}

/// Exits and leaves a child that writes once `go` exists, and then creates `done`.
int leaveAWriter(const std::string& go, const std::string& done) {
    std::printf("before\n");
    std::fflush(stdout);
    if (::fork() != 0)
        return 0;
    waitFor(go);
    for (int count = 0; count < 100000; ++count)
        std::printf("after\n");
    std::fflush(stdout);
    std::FILE* file = std::fopen(done.c_str(), "we");
    std::fclose(file);
    return 0;
}

} // namespace

int main(int count, char** words) {
    // Line buffered, to keep the order of both outputs.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const std::string what = count > 1 ? words[1] : "";
    if (what == "lot")
        return writeALot();
    if (what == "noise") {
        std::fwrite("a\xFF\xC3\0b\xED\xA0\x80", 1, 8, stdout);
        return 3;
    }
    if (what == "wait") {
        waitFor(words[2]);
        std::puts("went");
        return 0;
    }
    if (what == "down")
        return ::raise(SIGTERM);
    if (what == "status")
        return 3;
    if (what == "login")
        return ::pause();
    if (what == "leave")
        return leaveAWriter(words[2], words[3]);
    return tellAll(count, words);
}
