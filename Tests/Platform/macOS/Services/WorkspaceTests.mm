#include "Platform/macOS/MacWorkspace.h"
#include "Tests/Platform/macOS/Services/ServiceFixture.h"
#import "Tests/Platform/macOS/Stage/StageAppKit.h"

namespace quoxelin::testing {

namespace {

class MacWorkspaceTest : public ServiceTest {
  protected:
    static std::string opened() {
        NSURL* const last = stage::workspace().opened.lastObject;
        return last.absoluteString.UTF8String;
    }

    MacWorkspace workspace;
};

class MacOpenPanelTest : public ServiceTest {
  protected:
    void begin() {
        panel.begin({}, [this, kept = keepsake()](std::optional<std::filesystem::path> chosen) {
            EXPECT_EQ(kept, keepsake());
            answers.add(chosen ? chosen->string() : "nothing");
        });
    }

    MacOpenPanel panel;
    Answers<std::string> answers;
};

} // namespace

TEST_F(MacWorkspaceTest, opensAddressesAndFolders) {
    EXPECT_TRUE(workspace.open(*Url::parse("https://quoxelin.com/docs?a=b")));
    EXPECT_EQ(opened(), "https://quoxelin.com/docs?a=b");
    workspace.openFolder("/tmp");
    EXPECT_EQ(opened().rfind("file://", 0), 0u);
    const auto count = stage::workspace().opened.count;
    workspace.openFolder({});
    EXPECT_EQ(stage::workspace().opened.count, count);
}

TEST_F(MacWorkspaceTest, findsApplicationsAndOpensThem) {
    EXPECT_EQ(workspace.urlForApplication("com.quoxelin.nothing"), std::nullopt);
    stage::workspace().applications[@"com.example.mail"] =
        [NSURL fileURLWithPath:@"/Applications/Mail.app"];
    const auto found = workspace.urlForApplication("com.example.mail");
    ASSERT_EQ(found, "/Applications/Mail.app");
    workspace.openApplication(*found);
    EXPECT_NE(opened().find("Mail.app"), std::string::npos);
}

TEST_F(MacOpenPanelTest, offersWhatTheOptionsSay) {
    ::NSOpenPanel* const shown = [::NSOpenPanel openPanel];
    for (const bool areFolders : {true, false}) {
        panel.begin({.title = "Export Logs",
                     .prompt = "Export",
                     .canChooseFiles = !areFolders,
                     .canChooseDirectories = areFolders,
                     .canCreateDirectories = areFolders},
                    nullptr);
        EXPECT_TRUE([shown.title isEqualToString:@"Export Logs"]);
        EXPECT_TRUE([shown.prompt isEqualToString:@"Export"]);
        EXPECT_EQ(shown.canChooseFiles, !areFolders);
        EXPECT_EQ(shown.canChooseDirectories, areFolders);
        EXPECT_EQ(shown.canCreateDirectories, areFolders);
    }
}

TEST_F(MacOpenPanelTest, reportsTheChosenFolder) {
    begin();
    EXPECT_TRUE(answers.get().empty());
    ASSERT_TRUE(stage::answerOpenPanel([NSURL fileURLWithPath:@"/tmp" isDirectory:YES]));
    EXPECT_EQ(answers.get(), std::vector<std::string>{"/tmp"});
}

TEST_F(MacOpenPanelTest, reportsThatTheUserChoseNothing) {
    begin();
    ASSERT_TRUE(stage::answerOpenPanel(nil));
    EXPECT_EQ(answers.get(), std::vector<std::string>{"nothing"});
}

} // namespace quoxelin::testing
