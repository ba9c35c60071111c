#include "Runner/Shared/OpenURL.h"

#include "Simulation/System/SimulatedWorkspace.h"

#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quoxelin::testing {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(OpenURL, opensAURL) {
    SimulatedWorkspace workspace;
    EXPECT_TRUE(openURL(workspace, "https://example.com/"));
    EXPECT_THAT(workspace.openedURLs(), ElementsAre("https://example.com/"));
}

TEST(OpenURL, doesNotPassInvalidURLsToTheWorkspace) {
    SimulatedWorkspace workspace;
    for (const auto* const text : {"", "not a url", "https://example.com/%", "é:"})
        EXPECT_FALSE(openURL(workspace, text)) << text;
    EXPECT_THAT(workspace.triedURLs(), IsEmpty());
}

TEST(OpenURL, opensOnlyWebPagesThatOthersName) {
    SimulatedWorkspace workspace;
    EXPECT_TRUE(openWebPage(workspace, "https://example.com/"));
    EXPECT_TRUE(openWebPage(workspace, "HTTP://example.com/"));
    for (const auto* const text : {"", "/etc", "file:///bin/sh", "httpsx://a", "javascript:a()",
                                   "settings:https://example.com/", "https://example.com/%"})
        EXPECT_FALSE(openWebPage(workspace, text)) << text;
    EXPECT_THAT(workspace.triedURLs(), ElementsAre("https://example.com/", "HTTP://example.com/"));
}

TEST(OpenURL, skipsAnInvalidURL) {
    SimulatedWorkspace workspace;
    EXPECT_TRUE(openFirstURL(workspace, std::array{"a settings pane", "settings:a", "settings:b"}));
    EXPECT_THAT(workspace.triedURLs(), ElementsAre("settings:a"));
}

TEST(OpenURL, triesURLsUntilOneOpens) {
    SimulatedWorkspace workspace;
    workspace.refuseURLs("settings:");
    const std::array addresses{"settings:a", "settings:b", "other:c", "other:d"};
    EXPECT_TRUE(openFirstURL(workspace, addresses));
    EXPECT_THAT(workspace.openedURLs(), ElementsAre("other:c"));
    workspace.refuseURLs("");
    EXPECT_FALSE(openFirstURL(workspace, addresses));
}

} // namespace quoxelin::testing
