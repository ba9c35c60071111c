#include "Base/FileAppend.h"

#include "Tests/Support/InterruptingSignal.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quoxelin::testing {

TEST(FileAppend, addsToTheEnd) {
    const TemporaryDirectory directory;
    const auto path = directory.path() / "file";
    EXPECT_EQ(appendToFile(path, "one "), 4u);
    EXPECT_EQ(appendToFile(path, ""), 0u);
    EXPECT_EQ(appendToFile(path, "2"), 1u);
    EXPECT_EQ(contentsOf(path), "one 2");
}

TEST(FileAppend, letsTheUserMaskDecideWhoMayReadANewFile) {
    const TemporaryDirectory directory;
    const auto path = directory.path() / "file";
    const mode_t before = ::umask(0);
    appendToFile(path, "text");
    ::umask(before);
    struct stat status = {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0666u);
}

TEST(FileAppend, writesNothingWhereThereCanBeNoFile) {
    const TemporaryDirectory directory;
    EXPECT_EQ(appendToFile(directory.path() / "absent/file", "text"), 0u);
    EXPECT_EQ(appendToFile("/dev/full", "text"), 0u);
}

TEST(FileAppend, goesOnAfterASignal) {
    const TemporaryDirectory directory;
    const auto pipe = directory.path() / "pipe"; // holds only the beginning of the text
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::string text;
    for (int number = 0; text.size() < 1'000'000; ++number)
        text += std::to_string(number) + ' ';
    const InterruptingSignal signal;
    std::size_t written = 0;
    std::thread writer([&] { written = appendToFile(pipe, text); });
    const int reading = ::open(pipe.c_str(), O_RDONLY | O_CLOEXEC);
    for (int i = 0; i < 1'000; ++i) // while the pipe is full
        signal.interrupt(writer);
    std::string received;
    std::array<char, 65536> bytes = {};
    for (ssize_t count = 1; count > 0;) {
        signal.interrupt(writer);
        count = ::read(reading, bytes.data(), bytes.size());
        received.append(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    writer.join();
    ::close(reading);
    EXPECT_EQ(written, text.size());
    EXPECT_EQ(received, text);
}

} // namespace quoxelin::testing
