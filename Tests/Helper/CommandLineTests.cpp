#include "Helper/CommandLine.h"

#include <gtest/gtest.h>

namespace quoxelin::helper {
namespace {

const std::string bundle = "/usr/lib/quoxelin-desktop";
const std::string resources = bundle + "/Contents/Resources/";

TEST(HelperCommandLine, acceptsTheTwoBundledPrograms) {
    EXPECT_EQ(programAt(bundle, resources + "quoxelind"), Program::daemon);
    EXPECT_EQ(programAt(bundle, resources + "quoxelin"), Program::tool);
}

TEST(HelperCommandLine, acceptsNoOtherPath) {
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

const Hosts none;
const Hosts both = {"https://conductor.example.com:8443/v1?x=1", "signal.example.com"};

TEST(HelperCommandLine, allowsWhatTheApplicationSends) {
    EXPECT_TRUE(isAllowed(Program::daemon, {"--help"}, both));
    EXPECT_TRUE(isAllowed(Program::daemon, {"up"}, none));
    EXPECT_TRUE(isAllowed(Program::daemon,
                          {"up", "--conductor-host", both.conductor, "--signal-host", both.signal},
                          both));
    EXPECT_TRUE(isAllowed(Program::daemon, {"up", "--conductor-host", "h"}, {"h", ""}));
    EXPECT_TRUE(isAllowed(Program::daemon, {"up", "--signal-host", "[2001:db8::1]:443"},
                          {"", "[2001:db8::1]:443"}));
    for (const auto& arguments : std::vector<Arguments>{
             {"up"}, {"down"}, {"login", "-json=true"}, {"status", "-json=true"}})
        EXPECT_TRUE(isAllowed(Program::tool, arguments, none)) << arguments.front();
}

TEST(HelperCommandLine, takesTheHostsOnlyFromTheBundle) {
    const std::string other = "https://other.example.com/";
    for (const auto& arguments : std::vector<Arguments>{
             {"up"},
             {"up", "--conductor-host", both.conductor},
             {"up", "--signal-host", both.signal},
             {"up", "--signal-host", both.signal, "--conductor-host", both.conductor},
             {"up", "--conductor-host", other, "--signal-host", both.signal},
             {"up", "--conductor-host", both.conductor, "--signal-host", other},
             {"up", "--conductor-host", both.conductor + "/", "--signal-host", both.signal},
             {"up", "--conductor-host", both.conductor, "--signal-host", both.signal, ""}})
        EXPECT_FALSE(isAllowed(Program::daemon, arguments, both))
            << ::testing::PrintToString(arguments);
    EXPECT_FALSE(isAllowed(Program::daemon, {"up", "--conductor-host", other}, none));
    EXPECT_FALSE(isAllowed(Program::daemon, {"up", "--conductor-host", ""}, none));
}

TEST(HelperCommandLine, findsTheHostsInThePropertyList) {
    const auto hosts = hostsIn("<plist><dict><key>QXConductorURL</key><string>a&amp;b</string>"
                               "<key>QXSignalURL</key><string>s</string></dict></plist>");
    ASSERT_TRUE(hosts);
    EXPECT_EQ(hosts->conductor, "a&b");
    EXPECT_EQ(hosts->signal, "s");
    EXPECT_EQ(hostsIn("<plist><dict><key>QXSignalURL</key><integer>3</integer></dict></plist>")
                  .value()
                  .signal,
              "");
    EXPECT_FALSE(hostsIn("<plist>"));
}

TEST(HelperCommandLine, refusesInjectedArguments) {
    for (const auto& arguments : std::vector<Arguments>{{},
                                                        {""},
                                                        {"down"},
                                                        {"-h"},
                                                        {"--help", "up"},
                                                        {"--help", ""},
                                                        {"up", ""},
                                                        {"up", "--state", "/etc/shadow"},
                                                        {"up", "--conductor-host"},
                                                        {"up", "--conductor-host=h"},
                                                        {"up", "--conductor-host", "-x"},
                                                        {"up", "--conductor-host", "$(reboot)"},
                                                        {"up\n"},
                                                        {std::string("up\0", 3)}})
        for (const auto& hosts : {none, both})
            EXPECT_FALSE(isAllowed(Program::daemon, arguments, hosts))
                << ::testing::PrintToString(arguments);
    for (const auto& arguments : std::vector<Arguments>{{},
                                                        {"--help"},
                                                        {"up", "--force"},
                                                        {"down", ""},
                                                        {"login"},
                                                        {"login", "-json=false"},
                                                        {"login", "-json", "true"},
                                                        {"status", "-json=true", "-json=true"},
                                                        {"-json=true", "status"},
                                                        {"up", "--conductor-host", "h"},
                                                        {"set", "--operator=mallory"}})
        EXPECT_FALSE(isAllowed(Program::tool, arguments, {"h", ""}))
            << ::testing::PrintToString(arguments);
}

} // namespace
} // namespace quoxelin::helper
