#include "Helper/Spawn.h"

#include "Tests/Support/TemporaryDirectory.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace quoxelin::helper {
namespace {

using quoxelin::testing::TemporaryDirectory;
using ::testing::HasSubstr;
using ::testing::Not;

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
    std::signal(SIGUSR1, SIG_IGN);
    sigset_t some;
    ::sigemptyset(&some);
    ::sigaddset(&some, SIGUSR2);
    ::pthread_sigmask(SIG_BLOCK, &some, nullptr);
    const mode_t mask = ::umask(0);
    const int leaking = ::open("/dev/null", O_RDONLY); // without O_CLOEXEC, as a library might
    const auto output = outputOfProbe({"/called/by/this", "second", ""});
    ::close(leaking);
    ::umask(mask);
    ::pthread_sigmask(SIG_UNBLOCK, &some, nullptr);
    std::signal(SIGUSR1, SIG_DFL);
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
    EXPECT_THAT(output, HasSubstr("descriptor 0\ndescriptor 1\ndescriptor 2\n"));
    EXPECT_THAT(output, Not(HasSubstr("descriptor 3\n")));
}

TEST(HelperSpawn, leavesNoDescriptorOpen) {
    const auto firstFree = [] {
        const int free = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        ::close(free);
        return free;
    };
    const int before = firstFree();
    outputOfProbe({"probe"});
    EXPECT_FALSE(spawn(opened("/usr/no-such-program"), {"program"}));
    EXPECT_EQ(firstFree(), before);
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
