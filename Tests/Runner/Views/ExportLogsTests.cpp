#include "Tests/Support/PanelScene.h"
#include "Tests/Support/ViewSearch.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quoxelin::testing {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace fs = std::filesystem;

class ExportLogs : public ::testing::Test, protected PanelScene {
  protected:
    ExportLogs() {
        logIn();
        content->isMorePopoverPresented = true;
        fs::create_directory(chosen);
        fs::remove(logger.path());
    }

    static void write(const fs::path& file, const std::string& text) {
        std::ofstream(file) << text;
    }

    /// Requests the export as a user does, choosing the folder.
    void exportTo(const fs::path& folder) {
        click(tree(), "Export Logs");
        ASSERT_TRUE(system.openPanel.choose(folder));
        dispatch.runUntilIdle();
    }

    const fs::path chosen = directory.path() / "chosen";
    const fs::path daemonLog = directory.path() / "client.log";
};

TEST_F(ExportLogs, asksForAFolder) {
    click(tree(), "Export Logs");
    ASSERT_EQ(system.openPanel.history().size(), 1u);
    const auto& options = system.openPanel.history()[0];
    EXPECT_EQ(options.title, "Export Logs");
    EXPECT_EQ(options.prompt, "Export");
    EXPECT_FALSE(options.canChooseFiles);
    EXPECT_TRUE(options.canChooseDirectories);
    EXPECT_TRUE(options.canCreateDirectories);
}

TEST_F(ExportLogs, doesNothingWhenTheUserCancels) {
    write(daemonLog, "daemon");
    click(tree(), "Export Logs");
    EXPECT_TRUE(system.openPanel.cancel());
    dispatch.runUntilIdle();
    EXPECT_THAT(log(), IsEmpty());
    EXPECT_THAT(system.workspace.openedFolders(), IsEmpty());
}

TEST_F(ExportLogs, copiesBothLogsAndShowsTheFolder) {
    write(logger.path(), "application");
    write(daemonLog, "daemon");
    system.systemLog.onEntry = [this](const auto&) {
        EXPECT_THAT(system.workspace.openedFolders(), IsEmpty());
    };
    exportTo(chosen);
    EXPECT_EQ(contentsOf(chosen / "app.log"), "application");
    EXPECT_EQ(contentsOf(chosen / "client.log"), "daemon");
    EXPECT_THAT(log(), ElementsAre("[UI] Exported logs: app.log, client.log"));
    EXPECT_THAT(system.workspace.openedFolders(), ElementsAre(chosen));
}

TEST_F(ExportLogs, leavesTheMainThreadFreeWhileTheFolderIsSlow) {
    write(daemonLog, "daemon");
    click(tree(), "Export Logs");
    const auto before = dispatch.submittedQualities().size();
    ASSERT_TRUE(system.openPanel.choose(chosen));
    // The folder can be slow from here on.
    EXPECT_TRUE(fs::is_empty(chosen));
    dispatch.runUntilIdle();
    EXPECT_EQ(dispatch.submittedQualities().size(), before + 1);
    EXPECT_EQ(contentsOf(chosen / "client.log"), "daemon");
}

TEST_F(ExportLogs, saysNothingAboutACopyThatOutlivesThePanel) {
    write(daemonLog, "daemon");
    click(tree(), "Export Logs");
    ASSERT_TRUE(system.openPanel.choose(chosen));
    content.reset();
    dispatch.runUntilIdle();
    EXPECT_THAT(log(), IsEmpty());
    EXPECT_THAT(system.workspace.openedFolders(), IsEmpty());
}

TEST_F(ExportLogs, copiesTheOnlyLog) {
    write(daemonLog, "daemon");
    exportTo(chosen);
    EXPECT_FALSE(fs::exists(chosen / "app.log"));
    EXPECT_THAT(log(), ElementsAre("[UI] Exported logs: client.log"));
}

TEST_F(ExportLogs, keepsAnEarlierExportOfALogThatIsGone) {
    write(daemonLog, "daemon");
    write(chosen / "app.log", "application, earlier");
    exportTo(chosen);
    EXPECT_EQ(contentsOf(chosen / "app.log"), "application, earlier");
    EXPECT_THAT(log(), ElementsAre("[UI] Exported logs: client.log"));
}

TEST_F(ExportLogs, opensNoFolderWhenThereIsNoLog) {
    exportTo(chosen);
    EXPECT_THAT(log(), IsEmpty());
    EXPECT_THAT(system.workspace.openedFolders(), IsEmpty());
    EXPECT_TRUE(fs::is_empty(chosen));
}

TEST_F(ExportLogs, replacesEarlierExports) {
    write(daemonLog, "new");
    write(chosen / "client.log", "older and longer");
    exportTo(chosen);
    EXPECT_EQ(contentsOf(chosen / "client.log"), "new");
}

TEST_F(ExportLogs, replacesALinkInsteadOfFollowingIt) {
    write(daemonLog, "new");
    write(directory.path() / "precious", "precious");
    fs::create_symlink(directory.path() / "precious", chosen / "client.log");
    exportTo(chosen);
    EXPECT_EQ(contentsOf(chosen / "client.log"), "new");
    EXPECT_EQ(contentsOf(directory.path() / "precious"), "precious");
}

TEST_F(ExportLogs, keepsALogWhenItsOwnFolderIsChosen) {
    write(daemonLog, "daemon");
    exportTo(daemonLog.parent_path());
    EXPECT_EQ(contentsOf(daemonLog), "daemon");
    EXPECT_THAT(system.workspace.openedFolders(), ElementsAre(daemonLog.parent_path()));
}

TEST_F(ExportLogs, isSilentAboutAFolderThatIsGone) {
    write(daemonLog, "daemon");
    exportTo(directory.path() / "gone");
    EXPECT_THAT(log(), IsEmpty());
    EXPECT_THAT(system.workspace.openedFolders(), IsEmpty());
}

TEST_F(ExportLogs, isSilentAboutADestinationThatCannotBeReplaced) {
    write(daemonLog, "daemon");
    write(logger.path(), "application");
    fs::create_directories(chosen / "client.log" / "full");
    exportTo(chosen);
    EXPECT_THAT(log(), ElementsAre("[UI] Exported logs: app.log"));
    EXPECT_TRUE(fs::exists(chosen / "client.log" / "full"));
}

TEST_F(ExportLogs, doesNothingWhenTheFolderIsChosenAfterDestruction) {
    write(daemonLog, "daemon");
    click(tree(), "Export Logs");
    content.reset();
    system.openPanel.choose(chosen);
    dispatch.runUntilIdle();
    EXPECT_TRUE(fs::is_empty(chosen));
    EXPECT_THAT(log(), IsEmpty());
}

} // namespace quoxelin::testing
