#include "Platform/Linux/QtWorkspace.h"
#include "Tests/Platform/Linux/EventLoop.h"
#include "Tests/Platform/Linux/Recorder.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

/// A desktop with its own entries, in the directory that the tests' main() made. All exist from the
/// start because GLib notices new ones only after a while.
class QtWorkspaceTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        recorder = std::make_unique<Recorder>();
        addEntry("browser", "--open %u");
        addEntry("files", "%U");
        addEntry("com.quoxelin.test.Application", "");
        std::ofstream(std::filesystem::path(std::getenv("XDG_CONFIG_HOME")) / "mimeapps.list")
            << "[Default Applications]\nx-scheme-handler/quoxelin-test=browser.desktop\n"
               "inode/directory=files.desktop\n";
    }
    static void TearDownTestSuite() { recorder.reset(); }

    ~QtWorkspaceTest() override { recorder->clear(); }

    static void addEntry(const std::string& name, const std::string& more) {
        const auto folder = std::filesystem::path(std::getenv("XDG_DATA_HOME")) / "applications";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / (name + ".desktop"))
            << "[Desktop Entry]\nType=Application\nName=" << name << "\nExec=" << recorder->path()
            << " " << more << "\n";
    }

    static Url url(const char* text) { return *Url::parse(text); }

    void awaitCall(const std::string& arguments) {
        pollUntil([&] { return recorder->calls() > 0; });
        EXPECT_EQ(recorder->arguments(), arguments);
    }

    static inline std::unique_ptr<Recorder> recorder;
    QtWorkspace workspace;
};

TEST_F(QtWorkspaceTest, passesUrlsToTheHandlerOfTheirScheme) {
    EXPECT_TRUE(workspace.open(url("quoxelin-test://x/y?a=b%20c&d=$HOME;'")));
    awaitCall("--open\nquoxelin-test://x/y?a=b%20c&d=$HOME;'\n");
}

TEST_F(QtWorkspaceTest, refusesUrlsWithoutAHandler) {
    EXPECT_FALSE(workspace.open(url("x-apple.systempreferences:com.apple.LoginItems")));
    EXPECT_FALSE(workspace.open(url("relative/reference")));
}

// No settings of a Linux desktop have anything to allow.
TEST_F(QtWorkspaceTest, findsNoSettings) {
    for (const char* settings : {"com.apple.SystemSettings", "com.apple.systempreferences"})
        EXPECT_FALSE(workspace.urlForApplication(settings)) << settings;
}

TEST_F(QtWorkspaceTest, findsOtherApplicationsByTheirEntries) {
    EXPECT_TRUE(workspace.urlForApplication("com.quoxelin.test.Application"));
    EXPECT_FALSE(workspace.urlForApplication("com.quoxelin.test.Missing"));
}

TEST_F(QtWorkspaceTest, opensFoldersWithTheFileManager) {
    TemporaryDirectory directory;
    const auto folder = directory.path() / "a b";
    std::filesystem::create_directory(folder);
    workspace.openFolder(folder);
    awaitCall(folder.string() + "\n");
}

TEST_F(QtWorkspaceTest, startsOnlyDesktopEntries) {
    workspace.openApplication("/no/such/entry.desktop");
    workspace.openApplication(recorder->path());
    runLoopUntilIdle();
    EXPECT_EQ(recorder->calls(), 0u);
}

} // namespace quoxelin::testing
