#include "Tests/Runner/Views/PanelFixture.h"
#include "Tests/Support/ViewText.h"

#include <gmock/gmock.h>

namespace quoxelin::testing {

using ::testing::HasSubstr;
using ::testing::Not;

/// A system without settings that allow anything.
class PlatformGuidance : public PanelFixture {
  protected:
    PlatformGuidance() {
        logIn();
        content = std::make_shared<QuoxelinMenuBarContent>(
            QuoxelinMenuBarContent::Dependencies{
                dispatch, logger, localAPI, system.workspace, system.pasteboard, system.openPanel,
                system.mainBundle, system.processInfo, system.userNotificationCenter,
                system.application, directory.path() / "client.log", "Ask somebody.",
                "Ask an administrator."},
            appState, updaterVM, systemExtension);
    }
};

TEST_F(PlatformGuidance, takesThePlaceOfTheSettingsForTheHelper) {
    appState->helperNeedsApproval = true;
    appState->helperRegistrationError = "Allow it in the settings.";
    const auto shown = viewText(tree());
    EXPECT_THAT(shown, HasSubstr("Ask somebody."));
    EXPECT_THAT(shown, Not(HasSubstr("Login Items")));
    EXPECT_THAT(shown, Not(HasSubstr("Allow it")));
    EXPECT_EQ(tree().children.at(0).padding, (EdgeInsets{8, 14, 6, 14}));
}

TEST_F(PlatformGuidance, takesThePlaceOfTheSettingsForTheExtension) {
    systemExtension->isApproved = false;
    for (const int version : {14, 15}) {
        system.processInfo.majorVersion = version;
        EXPECT_TRUE(shows("Ask an administrator."));
    }
    systemExtension->lastErrorDescription = "Broken.";
    EXPECT_TRUE(shows("システム拡張を有効化できませんでした\nBroken."));
    EXPECT_FALSE(shows("Ask an administrator."));
}

} // namespace quoxelin::testing
