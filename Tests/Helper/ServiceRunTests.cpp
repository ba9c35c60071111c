#include "Tests/Helper/ServiceFixture.h"
#include "Tests/Support/Descriptors.h"

#include <csignal>
#include <gmock/gmock.h>
#include <sys/wait.h>

namespace quoxelin::helper {
namespace {

namespace fs = std::filesystem;
using quoxelin::testing::openDescriptors;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

/// The helper with an installation whose programs are the probe.
class HelperServiceRuns : public HelperService {
  protected:
    HelperServiceRuns() {
        // As in the helper itself: how its programs end comes over a descriptor.
        ::sigemptyset(&ends);
        ::sigaddset(&ends, SIGCHLD);
        ::sigprocmask(SIG_BLOCK, &ends, nullptr);
        fs::create_directories(in(tool).parent_path());
        for (auto folder = in(tool).parent_path(); folder != root.path();
             folder = folder.parent_path())
            fs::permissions(folder, fs::perms(0755));
        for (const auto& program : {tool, daemon}) {
            fs::copy_file(HELPER_PROBE, in(program));
            fs::permissions(in(program), fs::perms(0755));
        }
    }
    ~HelperServiceRuns() override { ::sigprocmask(SIG_UNBLOCK, &ends, nullptr); }

    fs::path in(const std::string& path) const { return root.path() / path.substr(1); }

    /// Waits for the program's end.
    std::string outcomeOf(std::uint64_t call) {
        while (!outcomes.contains(call)) {
            sd_event_run(event.get(), std::numeric_limits<std::uint64_t>::max());
            settle();
        }
        return outcomes[call];
    }

    /// The process whose start is the log's last line.
    pid_t started() const {
        const auto& line = log.back();
        return std::stoi(line.substr(line.rfind(' ')));
    }

    static void end(pid_t process) {
        ASSERT_GT(process, 1) << "others would end as well";
        ::kill(process, SIGKILL);
    }

    sigset_t ends = {};
};

TEST_F(HelperServiceRuns, repliesWithTheOutput) {
    const auto call = ask(":1.5");
    EXPECT_EQ(outcomeOf(call), "replied");
    EXPECT_THAT(said[call], StartsWith("word " + tool + "\nword up\nname quoxelin\n"));
    EXPECT_THAT(log, ElementsAre(StartsWith("user 1000 (:1.5) runs quoxelin up: process "),
                                 "user 1000 (:1.5) ran quoxelin up: exit code 0"));
}

TEST_F(HelperServiceRuns, startsTheDaemonWithTheHostsOfTheInstallation) {
    std::ofstream(in("/nowhere/Contents/Info.plist"))
        << "<plist><dict><key>QXSignalURL</key><string>s.example.com</string></dict></plist>";
    fs::permissions(in("/nowhere/Contents/Info.plist"), fs::perms(0644));
    const auto call = ask(":1.5", daemon, {"up", "--signal-host", "s.example.com"});
    EXPECT_EQ(outcomeOf(call), "replied");
    EXPECT_THAT(said[call], HasSubstr("word --signal-host\nword s.example.com\n"));
}

TEST_F(HelperServiceRuns, logsHowTheProgramEnded) {
    EXPECT_EQ(outcomeOf(ask(":1.5", tool, {"status", "-json=true"})), "replied");
    EXPECT_THAT(log.back(), HasSubstr("ran quoxelin status -json=true: exit code 3"));
    EXPECT_EQ(outcomeOf(ask(":1.5", tool, {"down"})), "replied");
    EXPECT_THAT(log.back(), HasSubstr("ran quoxelin down: ended by signal 15"));
}

TEST_F(HelperServiceRuns, waitsForEachProgramByItself) {
    const int before = openDescriptors();
    const auto waiting = ask(":1.5", tool, {"login", "-json=true"});
    const pid_t process = started();
    EXPECT_EQ(outcomeOf(ask(":1.6")), "replied");
    EXPECT_FALSE(outcomes.contains(waiting));
    end(process);
    EXPECT_EQ(outcomeOf(waiting), "replied");
    EXPECT_EQ(openDescriptors(), before) << "the outputs are closed";
}

TEST_F(HelperServiceRuns, servesForAMinuteAfterTheEndOfAProgram) {
    const auto call = ask(":1.5", tool, {"login", "-json=true"});
    advance(std::chrono::seconds(50));
    end(started());
    outcomeOf(call);
    advance(std::chrono::seconds(59));
    EXPECT_THAT(asked, Not(Contains("ReleaseName")));
    advance(std::chrono::seconds(2));
    EXPECT_FALSE(isServing());
}

TEST_F(HelperServiceRuns, logsWhyAProgramCouldNotBeStarted) {
    std::ofstream(in(tool)) << "rubbish";
    const auto call = ask(":1.5");
    EXPECT_EQ(said[call], "The program could not be started.");
    EXPECT_THAT(log.back(), HasSubstr("started. Exec format error Asked for: quoxelin up"));
}

TEST_F(HelperServiceRuns, endsAProgramWhoseEndItWouldNotLearn) {
    ::sigprocmask(SIG_UNBLOCK, &ends, nullptr);
    const int before = openDescriptors();
    const auto call = ask(":1.5", tool, {"login", "-json=true"});
    EXPECT_EQ(said[call], "The program could not be started.");
    EXPECT_THAT(log.back(), HasSubstr("started. its end could not be waited for Asked for: "));
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "no process is left";
    EXPECT_EQ(errno, ECHILD);
    EXPECT_EQ(openDescriptors(), before) << "the output is closed";
}

} // namespace
} // namespace quoxelin::helper
