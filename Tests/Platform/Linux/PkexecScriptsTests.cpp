#include "Platform/Linux/Services/PkexecScripts.h"
#include "Tests/Platform/Linux/Recorder.h"

#include <future>
#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

const std::string opening = "do shell script \"";
const std::string closing = "\" with administrator privileges";

std::optional<std::string> run(const Recorder& pkexec, const std::string& commands) {
    const auto script = PkexecScripts(pkexec.path()).initWithSource(opening + commands + closing);
    // Runs the script on a thread that may block.
    return std::async(std::launch::async, [&] { return script->executeAndReturnError(); }).get();
}

} // namespace

TEST(PkexecScripts, passesTheCommandsToARootShellUnchanged) {
    const Recorder pkexec;
    const std::string commands = "echo 'a b' $HOME `c` 2>/dev/null || true; rm -f /no/such/file";
    EXPECT_EQ(run(pkexec, commands), std::nullopt);
    EXPECT_EQ(pkexec.arguments(), "/bin/sh\n-s\n");
    EXPECT_EQ(pkexec.input(), commands + "\n");
}

TEST(PkexecScripts, passesMoreThanAPipeHolds) {
    const Recorder pkexec;
    const std::string commands(1 << 20, ':');
    EXPECT_EQ(run(pkexec, commands), std::nullopt);
    EXPECT_EQ(pkexec.input().size(), commands.size() + 1);
}

TEST(PkexecScripts, distinguishesDismissalRefusalAndFailure) {
    EXPECT_EQ(run(Recorder("exit 126"), ":"), "The authorization was dismissed.");
    EXPECT_EQ(run(Recorder("exit 127"), ":"), "The authorization was not obtained.");
    EXPECT_EQ(run(Recorder("exit 3"), ":"), "The script ended with exit code 3.");
    EXPECT_EQ(run(Recorder("kill -KILL $$"), ":"), "The script was ended by a signal.");
}

TEST(PkexecScripts, includesStandardErrorInTheError) {
    EXPECT_EQ(run(Recorder("echo '  no agent ' >&2; exit 127"), ":"),
              "The authorization was not obtained. no agent");
    EXPECT_EQ(run(Recorder("echo noise >&2"), ":"), std::nullopt);
}

TEST(PkexecScripts, survivesAProgramThatReadsNothing) {
    const Recorder pkexec("exit 126");
    std::ofstream(pkexec.path()) << "#!/bin/sh\nexit 126\n";
    EXPECT_EQ(run(pkexec, std::string(1 << 20, ':')), "The authorization was dismissed.");
}

TEST(PkexecScripts, failsIfNothingCanAskForAPassword) {
    const auto script = PkexecScripts("/no/such/pkexec").initWithSource(opening + closing);
    const auto error = script->executeAndReturnError();
    ASSERT_TRUE(error);
    EXPECT_TRUE(error->starts_with("/no/such/pkexec cannot be started: ")) << *error;
}

TEST(PkexecScripts, acceptsNoOtherText) {
    using namespace std::string_literals;
    PkexecScripts scripts("/no/such/pkexec");
    for (const auto& text :
         {""s, "beep"s, opening, closing, opening + ":\"", "do shell script \":\""s,
          " " + opening + ":" + closing, opening + ":" + closing + " ",
          opening + "echo \\\"a\\\"" + closing, opening + "a\" & \"b" + closing,
          opening + "a\\" + closing, opening + "a\0b"s + closing,
          "do shell script \" with administrator privileges"s})
        EXPECT_EQ(scripts.initWithSource(text), nullptr) << text;
    EXPECT_NE(scripts.initWithSource(opening + ":" + closing), nullptr);
}

} // namespace quoxelin::testing
