#include "Platform/Linux/Services/XdgAutostart.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quoxelin::testing {

using ::testing::HasSubstr;

constexpr const char* entryName = "com.quoxelin.desktop.desktop";
constexpr const char* entryText = "[Desktop Entry]\nType=Application\nName=Quoxelin\n"
                                  "Exec=/usr/bin/quoxelin-desktop\n"
                                  "X-GNOME-Autostart-enabled=true\n";

class XdgAutostartTest : public ::testing::Test {
  protected:
    XdgAutostartTest() {
        const auto folder = directory.path() / "bundle" / "Contents" / "Library" / "LoginItems";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / entryName) << entryText;
    }

    Result<void, Error> enroll() {
        std::optional<Result<void, Error>> told;
        item.registerService([&](const auto& outcome) { told = outcome; });
        return told.value();
    }

    SMAppServiceStatus status() {
        std::optional<int> told;
        item.status([&](int status) { told = status; });
        return static_cast<SMAppServiceStatus>(told.value());
    }

    void writeEntry(const std::string& text) {
        std::filesystem::create_directories(autostart);
        std::ofstream(autostart / entryName) << text;
    }

    TemporaryDirectory directory;
    std::filesystem::path autostart = directory.path() / "config" / "autostart";
    XdgAutostart item{directory.path() / "bundle", autostart};
};

TEST_F(XdgAutostartTest, isTheBundlesEntryInTheUsersDirectory) {
    EXPECT_EQ(status(), SMAppServiceStatus::notRegistered);
    ASSERT_TRUE(enroll());
    EXPECT_EQ(status(), SMAppServiceStatus::enabled);
    EXPECT_EQ(contentsOf(autostart / entryName), entryText);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(autostart), {}), 1);
}

TEST_F(XdgAutostartTest, isReplacedByANewerOne) {
    writeEntry("[Desktop Entry]\nExec=/old\n");
    EXPECT_EQ(status(), SMAppServiceStatus::enabled);
    ASSERT_TRUE(enroll());
    EXPECT_EQ(contentsOf(autostart / entryName), entryText);
    EXPECT_TRUE(enroll());
}

TEST_F(XdgAutostartTest, isRemovedWhenUnregistered) {
    ASSERT_TRUE(enroll());
    ASSERT_TRUE(item.unregisterService());
    EXPECT_FALSE(std::filesystem::exists(autostart / entryName));
    EXPECT_EQ(status(), SMAppServiceStatus::notRegistered);
    const auto again = item.unregisterService();
    ASSERT_FALSE(again);
    EXPECT_EQ(again.error().code, 6);
}

TEST_F(XdgAutostartTest, staysSwitchedOffByTheUser) {
    for (const auto* off : {"Hidden=true\n", "X-GNOME-Autostart-enabled=false\n"}) {
        const auto text = std::string("[Desktop Entry]\nExec=/usr/bin/quoxelin-desktop\n") + off;
        writeEntry(text);
        EXPECT_EQ(status(), SMAppServiceStatus::requiresApproval);
        const auto registered = enroll();
        ASSERT_FALSE(registered);
        EXPECT_EQ(registered.error().code, 1);
        EXPECT_EQ(contentsOf(autostart / entryName), text);
        EXPECT_TRUE(item.unregisterService());
    }
}

TEST_F(XdgAutostartTest, isReplacedIfItIsMalformed) {
    writeEntry("\xFF\xFE no entry");
    EXPECT_EQ(status(), SMAppServiceStatus::notRegistered);
    ASSERT_TRUE(enroll());
    EXPECT_EQ(status(), SMAppServiceStatus::enabled);
}

TEST_F(XdgAutostartTest, reportsWhyItCannotBeWritten) {
    std::filesystem::remove_all(directory.path() / "bundle");
    const auto missing = enroll();
    ASSERT_FALSE(missing);
    EXPECT_THAT(missing.error().localizedDescription, HasSubstr(entryName));
    EXPECT_FALSE(std::filesystem::exists(autostart));
}

TEST_F(XdgAutostartTest, reportsWhyItsDirectoryCannotBeMade) {
    std::ofstream(autostart.parent_path()) << "a file where a directory belongs";
    const auto blocked = enroll();
    ASSERT_FALSE(blocked);
    EXPECT_THAT(blocked.error().localizedDescription, HasSubstr("Not a directory"));
}

} // namespace quoxelin::testing
