#include "Helper/Spawn.h"

#include "Tests/Support/Descriptors.h"
#include "Tests/Support/FileSizeLimit.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <array>
#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace {

bool hasNoProcesses = false;

} // namespace

/// The system's fork(), unless it has no more processes.
extern "C" pid_t fork() noexcept {
    static const auto real = reinterpret_cast<pid_t (*)()>(::dlsym(RTLD_NEXT, "fork"));
    errno = EAGAIN;
    return hasNoProcesses ? -1 : real();
}

namespace quoxelin::helper {
namespace {

using quoxelin::testing::FileSizeLimit;
using quoxelin::testing::openDescriptors;
using quoxelin::testing::RoomForDescriptors;
using quoxelin::testing::TemporaryDirectory;
using ::testing::HasSubstr;

constexpr const char* probe = HELPER_PROBE;

TrustedFile opened(const std::filesystem::path& path) {
    return {FileDescriptor(::open(path.parent_path().c_str(), O_PATH | O_CLOEXEC)),
            path.filename()};
}

Spawned start(const std::vector<std::string>& words) {
    auto started = spawn(opened(probe), words);
    EXPECT_TRUE(started) << started.error();
    return std::move(*started);
}

std::string finish(const Spawned& spawned) {
    EXPECT_EQ(::waitpid(spawned.process, nullptr, 0), spawned.process);
    return outputOf(spawned);
}

std::string outputOfProbe(const std::vector<std::string>& words) {
    return finish(start(words));
}

void waitFor(const std::filesystem::path& file) {
    while (!std::filesystem::exists(file))
        ::usleep(1000);
}

TEST(HelperSpawn, passesNothingOfOursToTheProgram) {
    ::setenv("HELPER_TESTS_SECRET", "1", 1);
    const std::array ignored = {SIGUSR1, SIGRTMAX};
    for (const int number : ignored)
        std::signal(number, SIG_IGN);
    sigset_t some;
    ::sigemptyset(&some);
    ::sigaddset(&some, SIGUSR2);
    ::pthread_sigmask(SIG_BLOCK, &some, nullptr);
    const mode_t mask = ::umask(0);
    const int input = ::dup(STDIN_FILENO);
    const int file = ::open(probe, O_RDONLY | O_CLOEXEC);
    ::dup2(file, STDIN_FILENO);
    // Without O_CLOEXEC, as a library might, and around all descriptors that are opened for this.
    std::array<int, 16> leaking = {};
    for (int& descriptor : leaking)
        descriptor = ::open("/dev/null", O_RDONLY);
    for (const std::size_t hole : {1, 3, 5, 7, 9})
        ::close(std::exchange(leaking.at(hole), -1));
    const auto output = outputOfProbe({"/called/by/this", "second", ""});
    for (const int descriptor : leaking)
        ::close(descriptor);
    ::dup2(input, STDIN_FILENO);
    ::close(file);
    ::close(input);
    ::umask(mask);
    ::pthread_sigmask(SIG_UNBLOCK, &some, nullptr);
    for (const int number : ignored)
        std::signal(number, SIG_DFL);
    EXPECT_EQ(output.substr(0, output.find("descriptor")),
              "word /called/by/this\n"
              "word second\n"
              "word \n"
              "name helper-probe\n"
              "variable PATH=/usr/sbin:/usr/bin:/sbin:/bin\n"
              "variable LANG=C.UTF-8\n"
              "directory /\n"
              "mask 022\n"
              "leads its session 1\n"
              "input 0\n");
    EXPECT_EQ(output.substr(output.find("descriptor")),
              "descriptor 0\ndescriptor 1\ndescriptor 2\nerror output\n");
}

TEST(HelperSpawn, leavesNoDescriptorOpen) {
    const int before = openDescriptors();
    outputOfProbe({"probe"});
    EXPECT_FALSE(spawn(opened("/usr/no-such-program"), {"program"}));
    EXPECT_EQ(openDescriptors(), before);
}

TEST(HelperSpawn, leavesNoProcessWhenTheProgramCannotBeRun) {
    EXPECT_FALSE(spawn(opened("/usr/no-such-program"), {"program"}));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST(HelperSpawn, saysWhatTheSystemLacks) {
    const auto executable = opened(probe);
    const std::string noDescriptor = std::strerror(EMFILE);
    for (const int room : {0, 1, 2, 3}) { // three for us, and one for the new process
        const RoomForDescriptors limit(room);
        const auto started = spawn(executable, {"probe"});
        ASSERT_FALSE(started);
        EXPECT_EQ(started.error(), room < 3 ? "no output: " + noDescriptor : noDescriptor);
    }
    hasNoProcesses = true;
    auto started = spawn(executable, {"probe"});
    hasNoProcesses = false;
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error(), std::strerror(EAGAIN));

    const FileSizeLimit limit(longestOutput - 1);
    started = spawn(executable, {"probe"});
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error(), std::string("no output: ") + std::strerror(EFBIG));
}

TEST(HelperSpawn, givesTheProgramAnOutputOfFixedSize) {
    const auto started = start({"probe"});
    const int output = started.output.get();
    EXPECT_EQ(::ftruncate(output, 0), -1);
    EXPECT_EQ(::ftruncate(output, 2 * longestOutput), -1);
    EXPECT_EQ(::fcntl(output, F_ADD_SEALS, F_SEAL_WRITE), -1);
    EXPECT_NE(finish(started), "");
}

TEST(HelperSpawn, showsNothingOfAnOutputThatCannotBeRead) {
    TemporaryDirectory directory;
    const auto path = directory.path() / "output";
    FileDescriptor output(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(::write(output.get(), "text", 4), 4);
    EXPECT_EQ(outputOf({0, std::move(output)}), "");
}

TEST(HelperFileDescriptor, closesWhatItOwnsOnce) {
    const int input = ::dup(STDIN_FILENO);
    ::close(STDIN_FILENO);
    FileDescriptor first(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    EXPECT_TRUE(first) << "descriptor 0 is one, too";
    FileDescriptor second(::dup(STDERR_FILENO));
    const int number = second.get();
    second = std::move(first);
    EXPECT_EQ(::fcntl(number, F_GETFD), -1) << "it has another one now";
    second.reset();
    EXPECT_FALSE(second);
    EXPECT_EQ(::fcntl(STDIN_FILENO, F_GETFD), -1);
    ::dup2(input, STDIN_FILENO);
    ::close(input);
}

TEST(HelperSpawn, returnsBothOutputsInOneAnswer) {
    EXPECT_THAT(outputOfProbe({"probe"}), HasSubstr("error output\n"));
}

TEST(HelperSpawn, runsTheOpenedFileEvenIfItsPathWasReplaced) {
    TemporaryDirectory directory;
    const auto folder = directory.path() / "folder";
    std::filesystem::create_directory(folder);
    std::filesystem::copy_file(probe, folder / "program");
    const auto executable = opened(folder / "program");
    std::filesystem::rename(folder, directory.path() / "away");
    std::filesystem::create_directory(folder);
    std::filesystem::copy_file("/bin/false", folder / "program");
    const auto started = spawn(executable, {"probe"});
    ASSERT_TRUE(started) << started.error();
    EXPECT_THAT(finish(*started), HasSubstr("word probe\n"));
}

TEST(HelperSpawn, followsNoLink) {
    TemporaryDirectory directory;
    std::filesystem::create_symlink(probe, directory.path() / "link");
    const auto started = spawn(opened(directory.path() / "link"), {"link"});
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error(), std::strerror(ELOOP));
}

TEST(HelperSpawn, runsNoScripts) {
    TemporaryDirectory directory;
    const auto path = directory.path() / "script";
    std::ofstream(path) << "#!/bin/sh\n";
    ::chmod(path.c_str(), 0755);
    EXPECT_FALSE(spawn(opened(path), {"script"}));
    std::ofstream(path) << "rubbish";
    const auto started = spawn(opened(path), {"script"});
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error(), std::strerror(ENOEXEC));
}

TEST(HelperSpawn, keepsTheBeginningOfALongOutput) {
    const auto output = outputOfProbe({"probe", "lot"});
    // The last character would be cut in half, so it is left out.
    EXPECT_EQ(output.size(), longestOutput - 1);
    EXPECT_EQ(output.substr(0, 3), "x\xC3\xA9");
    EXPECT_EQ(output.substr(output.size() - 2), "\xC3\xA9");
}

TEST(HelperSpawn, replacesBytesThatAreNotUtf8) {
    EXPECT_EQ(outputOfProbe({"probe", "noise"}), "a\uFFFD\uFFFD\uFFFDb\uFFFD\uFFFD\uFFFD");
}

TEST(HelperSpawn, showsTheOutputSoFar) {
    TemporaryDirectory directory;
    const auto go = directory.path() / "go";
    const auto started = start({"probe", "wait", go});
    EXPECT_EQ(outputOf(started), "");
    std::ofstream(go) << "";
    EXPECT_EQ(finish(started), "went\n");
}

TEST(HelperSpawn, doesNotEndAProgramThatStillWrites) {
    TemporaryDirectory directory;
    const auto go = directory.path() / "go";
    const auto done = directory.path() / "done";
    EXPECT_EQ(outputOfProbe({"probe", "leave", go, done}), "before\n");
    // We have closed the output, and the writer writes more than fits.
    std::ofstream(go) << "";
    waitFor(done);
}

} // namespace
} // namespace quoxelin::helper
