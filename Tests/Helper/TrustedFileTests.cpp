#include "Helper/TrustedFile.h"
#include "Tests/Support/Descriptors.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <cstring>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace quoxelin::helper {
namespace {

namespace fs = std::filesystem;
using quoxelin::testing::openDescriptors;
using quoxelin::testing::RoomForDescriptors;
using quoxelin::testing::TemporaryDirectory;
using ::testing::HasSubstr;

/// An installation that trusts the user who runs the tests.
class TrustedFile : public ::testing::Test {
  protected:
    TrustedFile() {
        fs::create_directories(in("lib/Resources"));
        for (const auto* folder : {"lib", "lib/Resources"})
            ::chmod(in(folder).c_str(), 0755);
        makeFile("lib/Resources/program");
    }

    fs::path in(const std::string& name) const { return root.path() / name; }

    void makeFile(const std::string& name, mode_t mode = 0755) {
        std::ofstream(in(name)) << "program";
        ::chmod(in(name).c_str(), mode);
    }

    void mode(const std::string& name, mode_t bits) {
        ASSERT_EQ(::chmod(in(name).c_str(), bits), 0);
    }

    /// Why the file is refused; empty if it is opened.
    std::string refusal(const std::string& path = "/lib/Resources/program") const {
        const auto opened = openTrusted(path, {owner, root.path().string()});
        return opened ? "" : opened.error();
    }

    TemporaryDirectory root;
    uid_t owner = ::geteuid();
};

TEST_F(TrustedFile, isFoundIfEverythingIsAsInstalled) {
    const auto opened = openTrusted("/lib/Resources/program", {owner, root.path().string()});
    ASSERT_TRUE(opened) << opened.error();
    struct stat status = {};
    struct stat expected = {};
    ASSERT_EQ(::fstat(opened->directory.get(), &status), 0);
    ASSERT_EQ(::stat(in("lib/Resources").c_str(), &expected), 0);
    EXPECT_EQ(status.st_ino, expected.st_ino);
    EXPECT_EQ(opened->name, "program");
    EXPECT_EQ(::fcntl(opened->directory.get(), F_GETFD), FD_CLOEXEC);
}

TEST_F(TrustedFile, canBeReadWithoutBeingExecutable) {
    const Trust trust = {owner, root.path().string()};
    mode("lib/Resources/program", 0644);
    EXPECT_EQ(readTrusted("/lib/Resources/program", trust), "program");
    std::ofstream(in("lib/Resources/program")) << std::string(65536, 'x');
    EXPECT_EQ(readTrusted("/lib/Resources/program", trust)->size(), 65536u);
    std::ofstream(in("lib/Resources/program")) << std::string(65537, 'x');
    EXPECT_EQ(readTrusted("/lib/Resources/program", trust).error(),
              in("lib/Resources/program").string() + " is too large");
    std::ofstream(in("lib/Resources/program")) << "";
    EXPECT_EQ(readTrusted("/lib/Resources/program", trust), "");
    mode("lib/Resources/program", 0664);
    EXPECT_FALSE(readTrusted("/lib/Resources/program", trust));
}

TEST_F(TrustedFile, isRefusedByARelativeOrWindingPath) {
    for (const auto* path :
         {"", "lib/Resources/program", "./lib/Resources/program", "/lib/../lib/Resources/program",
          "/lib/./Resources/program", "//lib/Resources/program", "/lib//Resources/program",
          "/lib/Resources/program/", "/", "/..", "/lib/Resources/program/.."})
        EXPECT_EQ(refusal(path), "the path is not written plainly") << path;
    EXPECT_EQ(refusal(std::string("/lib/Resources/program\0x", 24)),
              "the path is not written plainly");
}

TEST_F(TrustedFile, isRefusedWhenMissing) {
    const std::string reason = " No such file or directory";
    EXPECT_EQ(refusal("/lib/Resources/absent"), in("lib/Resources/absent").string() + reason);
    EXPECT_EQ(refusal("/lib/absent/program"), in("lib/absent/").string() + reason);
    struct stat status = {};
    ASSERT_EQ(::stat("/", &status), 0);
    EXPECT_EQ(openTrusted("/no-such-file", {status.st_uid, "/"}).error(), "/no-such-file" + reason);
}

TEST_F(TrustedFile, isNotFoundWithoutDescriptors) {
    const Trust trust = {owner, root.path().string()};
    // The matchers come after the limit, as the sanitizers need descriptors to look at them.
    const auto refusalWith = [&](int room) {
        const RoomForDescriptors limit(room);
        return refusal();
    };
    for (const int room : {0, 1})
        EXPECT_THAT(refusalWith(room), HasSubstr(std::strerror(EMFILE)));
    const RoomForDescriptors limit(2);
    EXPECT_EQ(refusal(), "");
    EXPECT_EQ(readTrusted("/lib/Resources/program", trust).error(),
              in("lib/Resources/program").string() + " " + std::strerror(EMFILE));
}

TEST_F(TrustedFile, isFoundWithoutLeavingADescriptorOpen) {
    const int before = openDescriptors();
    EXPECT_EQ(refusal(), "");
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(TrustedFile, isRootsUnlessOneSaysOtherwise) {
    struct stat status = {};
    ASSERT_EQ(::stat("/usr/bin/env", &status), 0);
    EXPECT_EQ(openTrusted("/usr/bin/env").has_value(), status.st_uid == 0);
}

TEST_F(TrustedFile, isRefusedAsASymbolicLink) {
    fs::rename(in("lib/Resources/program"), in("lib/Resources/real"));
    fs::create_symlink("real", in("lib/Resources/program"));
    EXPECT_THAT(refusal(), HasSubstr("program is a symbolic link"));
}

TEST_F(TrustedFile, isRefusedBehindALinkedDirectory) {
    fs::rename(in("lib"), in("real"));
    fs::create_directory_symlink("real", in("lib"));
    EXPECT_EQ(refusal(), in("lib/").string() + " Not a directory");
    EXPECT_EQ(refusal("/real/Resources/program"), "");
}

TEST_F(TrustedFile, isRefusedBehindALinkedRoot) {
    TemporaryDirectory elsewhere;
    fs::create_directory_symlink(root.path(), elsewhere.path() / "link");
    const auto opened =
        openTrusted("/lib/Resources/program", {owner, (elsewhere.path() / "link").string()});
    EXPECT_EQ(opened.error(), (elsewhere.path() / "link/").string() + " Not a directory");
}

TEST_F(TrustedFile, mayHaveAnotherName) {
    fs::create_hard_link(in("lib/Resources/program"), in("lib/copy"));
    EXPECT_EQ(refusal(), "");
}

TEST_F(TrustedFile, isRefusedWhenOthersCanWriteIt) {
    for (const mode_t bits : {0775, 0757, 0777}) {
        mode("lib/Resources/program", bits);
        EXPECT_THAT(refusal(), HasSubstr("program can be written by others"));
    }
}

TEST_F(TrustedFile, isRefusedWhenOthersCanWriteADirectoryAboveIt) {
    for (const auto* folder : {"lib/Resources", "lib", "."})
        for (const mode_t bits : {0775, 0757, 01777}) {
            mode(folder, bits);
            EXPECT_THAT(refusal(), HasSubstr("/ can be written by others")) << folder;
            mode(folder, 0755);
        }
    EXPECT_EQ(refusal(), "");
}

TEST_F(TrustedFile, isRefusedIfItBelongsToAnotherUser) {
    owner = ::geteuid() + 1;
    EXPECT_THAT(refusal(), HasSubstr("belongs to another user"));
}

TEST_F(TrustedFile, isRefusedWithSetIdBits) {
    for (const mode_t bits : {04755, 02755, 01755}) {
        mode("lib/Resources/program", bits);
        EXPECT_THAT(refusal(), HasSubstr("set-id"));
    }
}

TEST_F(TrustedFile, isRefusedWhenNotExecutable) {
    mode("lib/Resources/program", 0644);
    EXPECT_THAT(refusal(), HasSubstr("not executable"));
}

TEST_F(TrustedFile, isRefusedIfItIsNotARegularFile) {
    EXPECT_THAT(refusal("/lib/Resources"), HasSubstr("is not a regular file"));
    // The pipe has no writer, so opening it for reading would block forever.
    ASSERT_EQ(::mkfifo(in("lib/Resources/pipe").c_str(), 0755), 0);
    EXPECT_THAT(refusal("/lib/Resources/pipe"), HasSubstr("is not a regular file"));
    EXPECT_NE(refusal("/lib/Resources/program/below"), "");
}

} // namespace
} // namespace quoxelin::helper
