#include "Platform/Linux/FolderBundle.h"
#include "Platform/Linux/IniUserDefaults.h"
#include "Platform/Linux/OsReleaseProcessInfo.h"
#include "Platform/Linux/XdgFileManager.h"
#include "Tests/Platform/Linux/Variable.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <fstream>
#include <gtest/gtest.h>

namespace quoxelin::testing {

namespace {

std::vector<std::filesystem::path> supportDirectories() {
    return XdgFileManager().applicationSupportDirectories();
}

using Paths = std::vector<std::filesystem::path>;

} // namespace

TEST(XdgFileManager, keepsApplicationSupportInTheDataDirectory) {
    const Variable data("XDG_DATA_HOME", "/somewhere/data"), home("HOME", "/somewhere/haru");
    EXPECT_EQ(supportDirectories(), Paths{"/somewhere/data"});
}

TEST(XdgFileManager, fallsBackToTheHomeDirectory) {
    const Variable home("HOME", "/somewhere/haru");
    for (const char* useless : {static_cast<const char*>(nullptr), "", "relative/data"}) {
        const Variable data("XDG_DATA_HOME", useless);
        EXPECT_EQ(supportDirectories(), Paths{"/somewhere/haru/.local/share"});
    }
}

TEST(XdgFileManager, asksTheUserDatabaseIfTheEnvironmentNamesNoHome) {
    const Variable data("XDG_DATA_HOME", nullptr), home("HOME", nullptr);
    const auto directories = supportDirectories();
    ASSERT_EQ(directories.size(), 1u);
    EXPECT_TRUE(directories.front().is_absolute());
}

TEST(XdgFileManager, namesATemporaryDirectoryEvenIfTheEnvironmentDoesNot) {
    TemporaryDirectory directory;
    {
        const Variable temporary("TMPDIR", directory.path().c_str());
        EXPECT_EQ(XdgFileManager().temporaryDirectory(), directory.path());
    }
    const Variable temporary("TMPDIR", "/no/such/directory");
    EXPECT_EQ(XdgFileManager().temporaryDirectory(), "/tmp");
}

class FolderBundleTest : public ::testing::Test {
  protected:
    void write(const std::string& name, const std::string& text) {
        const auto path = directory.path() / "Contents" / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << text;
    }

    FolderBundle bundle() { return FolderBundle(directory.path()); }

    TemporaryDirectory directory;
};

TEST_F(FolderBundleTest, readsStringsFromItsInformationDictionary) {
    write("Info.plist", R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
    <key>CFBundleIdentifier</key> <string>com.quoxelin.desktop</string>
    <key>Flag</key> <true/>
    <key>Nested</key> <dict><key>CFBundleVersion</key><string>wrong</string></dict>
    <key>CFBundleVersion</key> <string>7 &amp; more</string>
    <key>Number</key> <integer>3</integer>
    <key>Empty</key> <string></string>
</dict>
</plist>)");
    const auto read = bundle();
    EXPECT_EQ(read.bundleIdentifier(), "com.quoxelin.desktop");
    EXPECT_EQ(read.stringForInfoDictionaryKey("CFBundleVersion"), "7 & more");
    EXPECT_EQ(read.stringForInfoDictionaryKey("Empty"), "");
    for (const char* absent : {"Flag", "Nested", "Number", "Missing"})
        EXPECT_FALSE(read.stringForInfoDictionaryKey(absent)) << absent;
}

TEST_F(FolderBundleTest, isEmptyWithoutAReadableInformationDictionary) {
    EXPECT_FALSE(bundle().bundleIdentifier());
    for (const char* broken :
         {"", "no XML", "<plist><dict><key>CFBundleIdentifier</key><string>cut",
          "<dict><key>CFBundleIdentifier</key><string>x</string></dict>"}) {
        write("Info.plist", broken);
        EXPECT_FALSE(bundle().bundleIdentifier()) << broken;
    }
}

TEST_F(FolderBundleTest, findsItsResourcesAndOtherBundles) {
    write("Resources/quoxelind", "");
    EXPECT_EQ(bundle().pathForResource("quoxelind"),
              directory.path() / "Contents/Resources/quoxelind");
    EXPECT_FALSE(bundle().pathForResource("missing"));
    EXPECT_FALSE(bundle().identifierOfBundleAt(directory.path() / "other"));
    write("Info.plist",
          "<plist><dict><key>CFBundleIdentifier</key><string>x</string></dict></plist>");
    EXPECT_EQ(FolderBundle("/nowhere").identifierOfBundleAt(directory.path()), "x");
}

TEST(IniUserDefaults, keepsItsValuesInItsFile) {
    TemporaryDirectory directory;
    const auto file = directory.path() / "Quoxelin" / "defaults.ini";
    {
        IniUserDefaults defaults(file);
        EXPECT_FALSE(defaults.string("loginItemRegisteredBuild"));
        defaults.set("loginItemRegisteredBuild", "1.0, \"日本\"");
    }
    {
        IniUserDefaults defaults(file);
        EXPECT_EQ(defaults.string("loginItemRegisteredBuild"), "1.0, \"日本\"");
        defaults.removeObject("loginItemRegisteredBuild");
        defaults.removeObject("never there");
    }
    EXPECT_FALSE(IniUserDefaults(file).string("loginItemRegisteredBuild"));
}

TEST(IniUserDefaults, doesNotReadAListAsAString) {
    TemporaryDirectory directory;
    const auto file = directory.path() / "defaults.ini";
    std::ofstream(file) << "[General]\nlist=a, b\n";
    EXPECT_FALSE(IniUserDefaults(file).string("list"));
}

TEST(OsReleaseProcessInfo, readsTheMajorVersionOfTheSystem) {
    EXPECT_EQ(OsReleaseProcessInfo::majorVersionIn("NAME=Debian\nVERSION_ID=\"12\"\n"), 12);
    EXPECT_EQ(OsReleaseProcessInfo::majorVersionIn("VERSION_ID=22.04\nNAME=x"), 22);
    EXPECT_EQ(OsReleaseProcessInfo::majorVersionIn("VERSION_ID='15-SP5'\n"), 15);
    for (const char* none : {"", "NAME=Arch\n", "VERSION_ID=\n", "VERSION_ID=\"\"\n",
                             "VERSION_ID=rolling\n", "MY_VERSION_ID=3\n"})
        EXPECT_EQ(OsReleaseProcessInfo::majorVersionIn(none), 0) << none;
}

TEST(OsReleaseProcessInfo, isNamedAfterTheBundleOrTheProgram) {
    TemporaryDirectory directory;
    EXPECT_EQ(OsReleaseProcessInfo(FolderBundle(directory.path()), "/opt/bin/quoxelin-desktop")
                  .processName(),
              "quoxelin-desktop");
    std::filesystem::create_directories(directory.path() / "Contents");
    std::ofstream(directory.path() / "Contents/Info.plist")
        << "<plist><dict><key>CFBundleName</key><string>Quoxelin</string></dict></plist>";
    EXPECT_EQ(OsReleaseProcessInfo(FolderBundle(directory.path()), "/x").processName(), "Quoxelin");
}

} // namespace quoxelin::testing
