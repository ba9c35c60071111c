#include "Runner/Views/ShownText.h"

#include "Base/Utf8.h"
#include "Runner/Services/SystemExtension/SystemExtensionService.h"
#include "Tests/Runner/Views/PanelFixture.h"

#include <set>

namespace quoxelin::testing {

TEST(ShownText, isTheTextItselfUpToTheLimit) {
    EXPECT_EQ(shownText(""), "");
    EXPECT_EQ(shownText("haru@example.com"), "haru@example.com");
    const std::string longest(shownTextLimit, 'x');
    EXPECT_EQ(shownText(longest), longest);
}

TEST(ShownText, keepsBothEndsOfALongerText) {
    const auto shown = shownText("begin " + std::string(100'000, 'x') + " end");
    EXPECT_LE(shown.size(), shownTextLimit);
    EXPECT_GE(shown.size(), shownTextLimit - 1);
    EXPECT_EQ(shown.substr(0, 6), "begin ");
    EXPECT_NE(shown.find("x…x"), std::string::npos);
    EXPECT_EQ(shown.substr(shown.size() - 4), " end");
}

TEST(ShownText, cutsNoCharacterInTwo) {
    for (const std::string prefix : {"", "a", "ab"})
        for (const std::string suffix : {"", "a", "ab"}) {
            auto text = prefix;
            for (int i = 0; i < 1'000; ++i)
                text += "許";
            const auto shown = shownText(text + suffix);
            EXPECT_TRUE(isValidUtf8(shown)) << prefix << suffix;
            EXPECT_LE(shown.size(), shownTextLimit);
            EXPECT_GE(shown.size(), shownTextLimit - 5);
            EXPECT_TRUE(shown.ends_with("許" + suffix));
        }
}

TEST(ShownText, keepsNothingOfATextWithoutCharacters) {
    const std::string bytes(2 * shownTextLimit, '\x80');
    EXPECT_EQ(shownText(std::string_view(bytes).substr(0, shownTextLimit + 1)), "…");
}

class LongTexts : public PanelFixture {
  protected:
    /// Makes every text that comes from elsewhere 100,000 characters long.
    void sendLongTexts() {
        logIn();
        const std::string longText(100'000, 'x');
        edit([&](LoginViewState& login) {
            login.userName = login.email = login.hostName = longText;
            login.jailedReason = longText;
            login.quoxelinIPs = "100.64.0.1" + longText + ",fd7a::" + longText;
        });
        appState->profiles = {{longText, longText, 1, longText, true}};
        appState->helperNeedsApproval = true;
        appState->helperRegistrationError = longText;
        systemExtension->isApproved = false;
        systemExtension->lastErrorDescription = longText;
        content->isMorePopoverPresented = true;
    }

    static std::size_t longestText(const ViewNode& node) {
        auto longest = std::max({node.text.size(), node.accessibilityLabel.size(),
                                 node.accessibilityDescription.size()});
        for (const auto& child : node.children)
            longest = std::max(longest, longestText(child));
        return node.popover ? std::max(longest, longestText(node.popover->content)) : longest;
    }

    static void collectUnlimited(const ViewNode& node, std::set<std::string>& texts) {
        if (node.kind == ViewNode::Kind::text && node.lineLimit == 0)
            texts.insert(node.text);
        for (const auto& child : node.children)
            collectUnlimited(child, texts);
        if (node.popover)
            collectUnlimited(node.popover->content, texts);
    }
};

TEST_F(LongTexts, areShortenedBeforeTheyAreLaidOut) {
    sendLongTexts();
    // With a prefix such as "Copy ".
    EXPECT_LE(longestText(tree()), shownTextLimit + 20);
}

TEST_F(LongTexts, takeALimitedNumberOfLines) {
    sendLongTexts();
    std::set<std::string> unlimited;
    collectUnlimited(tree(), unlimited);
    EXPECT_EQ(unlimited,
              (std::set<std::string>{"About", "Blocked by Device Policy", "Check for Updates...",
                                     "Docs", "Enable Helper (Login Items)", "Export Logs", "Logout",
                                     "More", "Quit Quoxelin", "Switch Account",
                                     "System Extension Not Active", "Uninstall Quoxelin"}));
}

TEST_F(LongTexts, areCopiedWhole) {
    sendLongTexts();
    const auto shown = tree();
    const auto* const row = find(shown, [](const ViewNode& node) {
        return node.kind == ViewNode::Kind::row &&
               node.accessibilityLabel.rfind("Copy DNS: ", 0) == 0;
    });
    ASSERT_NE(row, nullptr);
    row->action();
    EXPECT_EQ(system.pasteboard.string(), std::string(100'000, 'x'));
}

class NamelessAccounts : public PanelFixture {};

TEST_F(NamelessAccounts, areCalledByTheirAddressOrId) {
    logIn();
    appState->profiles = {{"id-1", "", 1, "haru@example.com", true},
                          {"id-2", "", 2, std::nullopt, false},
                          {"id-3", "", 3, "", false}};
    content->isMorePopoverPresented = true;
    const auto shown = tree();
    for (const std::string name : {"id-2", "id-3"}) {
        const auto* const row = findRow(shown, name);
        ASSERT_NE(row, nullptr) << name;
        EXPECT_EQ(row->accessibilityLabel, name);
    }
    EXPECT_NE(findText(shown, "haru@example.com"), nullptr);
}

} // namespace quoxelin::testing
