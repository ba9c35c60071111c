#include "Simulation/Daemon/Options.h"

#include <gtest/gtest.h>

namespace quoxelin::sim {
namespace {

using namespace std::chrono_literals;

TEST(Options, readsAllOptions) {
    const auto read = readOptions(
        {"--socket", "/tmp/s", "--peers", "20000", "--auto-login", "0.5", "--logged-in"});
    const auto* options = std::get_if<Options>(&read);
    ASSERT_TRUE(options);
    EXPECT_EQ(options->socketPath, "/tmp/s");
    EXPECT_EQ(options->model.peers, 20000u);
    EXPECT_EQ(options->model.autoLogin, 500ms);
    EXPECT_TRUE(options->model.loggedIn);
}

TEST(Options, requiresOnlyASocket) {
    const auto read = readOptions({"--socket", "/tmp/s"});
    const auto* options = std::get_if<Options>(&read);
    ASSERT_TRUE(options);
    EXPECT_EQ(options->model.peers, 5u);
    EXPECT_FALSE(options->model.autoLogin);
    EXPECT_FALSE(options->model.loggedIn);
}

TEST(Options, refusesAnythingElseWithUsageAndExitCode2) {
    const std::vector<std::vector<std::string>> misuses{
        {},
        {"--socket"},
        {"--socket", ""},
        {"--socket", "/tmp/s", "more"},
        {"--socket", "/tmp/s", "--peers", "-1"},
        {"--socket", "/tmp/s", "--peers", "1000001"},
        {"--socket", "/tmp/s", "--peers", "5x"},
        {"--socket", "/tmp/s", "--auto-login", "soon"},
        {"--socket", "/tmp/s", "--auto-login", "-1"},
        {"--socket", "/tmp/s", "--auto-login", "nan"},
        {"--socket", "/tmp/s", "--verbose"},
    };
    for (const auto& arguments : misuses) {
        const auto read = readOptions(arguments);
        const auto* print = std::get_if<PrintAndExit>(&read);
        ASSERT_TRUE(print) << ::testing::PrintToString(arguments);
        EXPECT_EQ(print->exitCode, 2);
        EXPECT_NE(print->text.find("Usage: quoxelind-sim --socket PATH"), std::string::npos);
    }
}

TEST(Options, printsVersionAndHelp) {
    const auto version = readOptions({"--version"});
    EXPECT_EQ(std::get<PrintAndExit>(version).exitCode, 0);
    EXPECT_EQ(std::get<PrintAndExit>(version).text.find("quoxelind-sim "), 0u);
    const auto help = readOptions({"--socket", "/tmp/s", "--help"});
    EXPECT_EQ(std::get<PrintAndExit>(help).exitCode, 0);
    EXPECT_NE(std::get<PrintAndExit>(help).text.find("--peers N"), std::string::npos);
}

} // namespace
} // namespace quoxelin::sim
