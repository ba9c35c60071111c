#include "Helper/CommandLine.h"

#include <gtest/gtest.h>

namespace quoxelin::helper {
namespace {

const std::string bundle = "/usr/lib/quoxelin-desktop";
const std::string resources = bundle + "/Contents/Resources/";

TEST(HelperCommandLine, knowsTheTwoBundledPrograms) {
    EXPECT_EQ(programAt(bundle, resources + "quoxelind"), Program::daemon);
    EXPECT_EQ(programAt(bundle, resources + "quoxelin"), Program::tool);
}

TEST(HelperCommandLine, knowsNoOtherPath) {
    const std::vector<std::string> paths = {
        "",
        "/bin/sh",
        "quoxelind",
        "quoxelin",
        "./quoxelind",
        "Contents/Resources/quoxelind",
        resources,
        resources + "quoxelind2",
        resources + "quoxelin/",
        resources + "QUOXELIND",
        resources + "./quoxelind",
        resources + "../Resources/quoxelind",
        resources + "quoxelind/../../../../../../bin/sh",
        "/" + resources + "quoxelind",
        bundle + "//Contents/Resources/quoxelind",
        "/tmp" + resources + "quoxelind",
        "/usr/../usr/lib/quoxelin-desktop/Contents/Resources/quoxelind",
        resources + "quoxelind ",
        " " + resources + "quoxelind",
        resources + "quoxelind\n",
        resources + std::string("quoxelind\0", 10),
        "/proc/self/exe"};
    for (const auto& path : paths)
        EXPECT_EQ(programAt(bundle, path), std::nullopt) << path;
}

TEST(HelperCommandLine, allowsWhatTheApplicationSends) {
    const std::string host = "https://conductor.example.com:8443/v1?x=1&y=%20";
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {"--help"},
             {"up"},
             {"up", "--conductor-host", host},
             {"up", "--signal-host", "signal.example.com"},
             {"up", "--conductor-host", "[2001:db8::1]:443", "--signal-host", "10.0.0.1:50"}})
        EXPECT_TRUE(isAllowed(Program::daemon, arguments)) << arguments.back();
    for (const auto& arguments : std::vector<std::vector<std::string>>{
             {"up"}, {"down"}, {"login", "-json=true"}, {"status", "-json=true"}})
        EXPECT_TRUE(isAllowed(Program::tool, arguments)) << arguments.front();
}

TEST(HelperCommandLine, refusesInjectedArguments) {
    using List = std::vector<std::vector<std::string>>;
    const std::string host = "h.example.com";
    for (const auto& arguments : List{{},
                                      {""},
                                      {"down"},
                                      {"-h"},
                                      {"--help", "up"},
                                      {"--help", ""},
                                      {"up", ""},
                                      {"up", "--state", "/etc/shadow"},
                                      {"up", "--conductor-host"},
                                      {"up", "--conductor-host", ""},
                                      {"up", "--conductor-host=" + host},
                                      {"up", "--conductor-host", "--state=/etc/shadow"},
                                      {"up", "--conductor-host", "-x"},
                                      {"up", "--conductor-host", host, "extra"},
                                      {"up", "--conductor-host", host, "--conductor-host", host},
                                      {"up", "--signal-host", host, "--conductor-host", host},
                                      {"up", "--conductor-host", host, "--signal-host"},
                                      {"up", "--conductor-host", host, "--signal-host", host, ""},
                                      {"up", "--conductor-host", "h example"},
                                      {"up", "--conductor-host", "h;reboot"},
                                      {"up", "--conductor-host", "$(reboot)"},
                                      {"up", "--conductor-host", "`reboot`"},
                                      {"up", "--conductor-host", "h\nup"},
                                      {"up", "--conductor-host", std::string("h\0x", 3)},
                                      {"up", "--conductor-host", "caf\xC3\xA9.example.com"},
                                      {"up", "--conductor-host", "/etc/shadow"},
                                      {std::string("up\0", 3)}})
        EXPECT_FALSE(isAllowed(Program::daemon, arguments)) << ::testing::PrintToString(arguments);
    for (const auto& arguments : List{{},
                                      {"--help"},
                                      {"up", "--force"},
                                      {"down", ""},
                                      {"login"},
                                      {"login", "-json=false"},
                                      {"login", "-json", "true"},
                                      {"status", "-json=true", "-json=true"},
                                      {"-json=true", "status"},
                                      {"up", "--conductor-host", host},
                                      {"set", "--operator=mallory"}})
        EXPECT_FALSE(isAllowed(Program::tool, arguments)) << ::testing::PrintToString(arguments);
}

TEST(HelperCommandLine, refusesHugeHosts) {
    EXPECT_TRUE(isHost(std::string(longestArgument, 'h')));
    EXPECT_FALSE(isHost(std::string(longestArgument + 1, 'h')));
}

} // namespace
} // namespace quoxelin::helper
