#include "Helper/Children.h"

#include "Tests/Support/TemporaryDirectory.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <sys/stat.h>

namespace quoxelin::helper {
namespace {

using quoxelin::testing::TemporaryDirectory;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* probe = HELPER_PROBE;

FileDescriptor opened(const std::string& path) {
    return FileDescriptor(::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
}

/// Runs the main loop, waiting for events in between.
template <typename Condition>
void runUntil(Condition condition) {
    while (!condition())
        g_main_context_iteration(nullptr, TRUE);
}

class HelperChildren : public ::testing::Test {
  protected:
    void start(const std::vector<std::string>& words, std::optional<std::string>& output) {
        const auto started = children.run(opened(probe), words, [&output](std::string text) {
            EXPECT_EQ(output, std::nullopt);
            output = std::move(text);
        });
        ASSERT_TRUE(started) << started.error();
    }

    std::string outputOf(const std::vector<std::string>& words) {
        std::optional<std::string> output;
        start(words, output);
        runUntil([&] { return output.has_value(); });
        return *output;
    }

    void TearDown() override {
        runUntil([this] { return children.isEmpty(); });
    }

    Children children{[] {}};
};

TEST_F(HelperChildren, getNothingOfOurs) {
    ::setenv("HELPER_TESTS_SECRET", "1", 1);
    std::signal(SIGUSR1, SIG_IGN);
    sigset_t some;
    ::sigemptyset(&some);
    ::sigaddset(&some, SIGUSR2);
    ::pthread_sigmask(SIG_BLOCK, &some, nullptr);
    const mode_t mask = ::umask(0);
    const int leaking = ::open("/dev/null", O_RDONLY); // without O_CLOEXEC, as a library might
    const auto output = outputOf({"/called/by/this", "second", ""});
    ::close(leaking);
    ::umask(mask);
    ::pthread_sigmask(SIG_UNBLOCK, &some, nullptr);
    std::signal(SIGUSR1, SIG_DFL);
    EXPECT_EQ(output.substr(0, output.find("descriptor")),
              "word /called/by/this\n"
              "word second\n"
              "word \n"
              "variable PATH=/usr/sbin:/usr/bin:/sbin:/bin\n"
              "variable LANG=C.UTF-8\n"
              "directory /\n"
              "mask 022\n"
              "leads its session 1\n"
              "input 0\n");
    EXPECT_THAT(output, HasSubstr("descriptor 0\ndescriptor 1\ndescriptor 2\n"));
    EXPECT_THAT(output, Not(HasSubstr("descriptor 3\n")));
}

TEST_F(HelperChildren, writeBothOutputsIntoOneAnswer) {
    EXPECT_THAT(outputOf({"probe"}), HasSubstr("error output\n"));
}

TEST_F(HelperChildren, areTheOpenedFileWhateverStandsAtItsPathNow) {
    TemporaryDirectory directory;
    const auto path = directory.path() / "program";
    std::filesystem::copy_file(probe, path);
    const auto executable = opened(path);
    std::filesystem::remove(path);
    std::filesystem::copy_file("/bin/false", path);
    std::optional<std::string> output;
    ASSERT_TRUE(
        children.run(executable, {"probe"}, [&](std::string text) { output = std::move(text); }));
    runUntil([&] { return output.has_value(); });
    EXPECT_THAT(*output, HasSubstr("word probe\n"));
}

TEST_F(HelperChildren, areNoScripts) {
    TemporaryDirectory directory;
    const auto path = directory.path() / "script";
    std::ofstream(path) << "#!/bin/sh\n";
    ::chmod(path.c_str(), 0755);
    EXPECT_FALSE(children.run(opened(path), {"script"}, [](const std::string&) { FAIL(); }));
    std::ofstream(path) << "rubbish";
    const auto started = children.run(opened(path), {"script"}, [](const std::string&) { FAIL(); });
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error(), std::strerror(ENOEXEC));
    EXPECT_TRUE(children.isEmpty());
}

TEST_F(HelperChildren, mayWriteMoreThanIsKept) {
    const auto output = outputOf({"probe", "lot"});
    // The last character would be cut in half, and is left out.
    EXPECT_EQ(output.size(), Children::longestOutput - 1);
    EXPECT_EQ(output.substr(0, 3), "x\xC3\xA9");
    EXPECT_EQ(output.substr(output.size() - 2), "\xC3\xA9");
}

TEST_F(HelperChildren, mayWriteWhatIsNoText) {
    EXPECT_EQ(outputOf({"probe", "noise"}), "a\uFFFD\uFFFD\uFFFDb\uFFFD\uFFFD\uFFFD");
}

TEST_F(HelperChildren, holdNobodyUpWhenTheyDoNotEnd) {
    TemporaryDirectory directory;
    const auto go = directory.path() / "go";
    std::optional<std::string> endless;
    start({"probe", "wait", go}, endless);
    EXPECT_THAT(outputOf({"probe"}), HasSubstr("word probe"));
    EXPECT_EQ(endless, std::nullopt);
    EXPECT_FALSE(children.isEmpty());
    std::ofstream(go) << "";
    runUntil([&] { return endless.has_value(); });
}

TEST_F(HelperChildren, mayLeaveAWriterBehindWhoIsReadToHisEnd) {
    TemporaryDirectory directory;
    const auto go = directory.path() / "go";
    const auto done = directory.path() / "done";
    EXPECT_EQ(outputOf({"probe", "leave", go, done}), "before\n");
    EXPECT_FALSE(children.isEmpty()) << "who goes on writing needs somebody who reads";
    std::ofstream(go) << "";
    runUntil([this] { return children.isEmpty(); });
    EXPECT_TRUE(std::filesystem::exists(done)) << "the writer was killed by its own output";
}

} // namespace
} // namespace quoxelin::helper
