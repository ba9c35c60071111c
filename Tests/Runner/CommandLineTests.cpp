#include "Runner/CommandLine.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

CommandLine parse(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "quoxelin-desktop");
    return parseCommandLine(arguments);
}

LaunchOptions launch(const std::vector<std::string>& arguments) {
    const auto line = parse(arguments);
    if (const auto* options = std::get_if<LaunchOptions>(&line))
        return *options;
    ADD_FAILURE() << "no launch";
    return {};
}

std::string mistake(const std::vector<std::string>& arguments) {
    const auto line = parse(arguments);
    if (const auto* error = std::get_if<UsageError>(&line))
        return error->description;
    return "";
}

} // namespace

TEST(CommandLine, launchesWithoutArguments) {
    const auto options = launch({});
    EXPECT_EQ(options.program, "quoxelin-desktop");
    EXPECT_FALSE(options.socketPath);
    EXPECT_FALSE(options.callbackURL);
}

TEST(CommandLine, takesAllOptionsInAnyOrder) {
    const auto options = launch({"quoxelin://login?token=t", "--socket", "/tmp/s.socket"});
    EXPECT_EQ(options.socketPath, "/tmp/s.socket");
    EXPECT_EQ(options.callbackURL, "quoxelin://login?token=t");
}

TEST(CommandLine, acceptsAPathThatLooksLikeAnOption) {
    EXPECT_EQ(launch({"--socket", "--version"}).socketPath, "--version");
}

TEST(CommandLine, showsVersionAndHelpInAnyPosition) {
    EXPECT_TRUE(std::holds_alternative<ShowVersion>(parse({"--socket", "/tmp/s", "--version"})));
    EXPECT_TRUE(std::holds_alternative<ShowHelp>(parse({"--help", "--socket"})));
}

TEST(CommandLine, refusesUnknownArguments) {
    EXPECT_EQ(mistake({"--simulate"}), "unknown argument \"--simulate\"");
    EXPECT_EQ(mistake({"-h"}), "unknown argument \"-h\"");
    EXPECT_EQ(mistake({""}), "unknown argument \"\"");
    EXPECT_EQ(mistake({"--", "--help"}), "unknown argument \"--\"");
    EXPECT_EQ(mistake({"--bad", "--help"}), "unknown argument \"--bad\"");
}

TEST(CommandLine, refusesASocketWithoutPath) {
    EXPECT_EQ(mistake({"--socket"}), "--socket needs a path");
    EXPECT_EQ(mistake({"--socket", ""}), "--socket needs a path");
}

TEST(CommandLine, refusesURLsOfOtherSchemes) {
    EXPECT_EQ(mistake({"https://example.com/?token=t"}),
              "unknown argument \"https://example.com/?token=t\"");
    EXPECT_EQ(mistake({"quoxelin"}), "unknown argument \"quoxelin\"");
    EXPECT_EQ(mistake({"quoxelin://a b"}), "unknown argument \"quoxelin://a b\"");
}

TEST(CommandLine, refusesASecondCallbackURL) {
    EXPECT_EQ(mistake({"quoxelin://a", "quoxelin://b"}), "more than one callback URL");
}

TEST(CommandLine, worksWithoutAProgramName) {
    const auto line = parseCommandLine({});
    ASSERT_TRUE(std::holds_alternative<LaunchOptions>(line));
    EXPECT_EQ(std::get<LaunchOptions>(line).program, "quoxelin-desktop");
}

TEST(CommandLine, namesEveryOptionInTheUsageText) {
    const auto usage = usageText("quoxelin-desktop");
    for (const char* option : {"--socket PATH", "--version", "--help", "CALLBACK-URL"})
        EXPECT_NE(usage.find(option), std::string::npos) << option;
}

} // namespace quoxelin::testing
