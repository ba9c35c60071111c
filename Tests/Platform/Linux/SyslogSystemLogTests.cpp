#include "Platform/Linux/SyslogSystemLog.h"

#include "Tests/Support/TemporaryDirectory.h"

#include <chrono>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace quoxelin::testing {

class SyslogSystemLogTest : public ::testing::Test {
  protected:
    SyslogSystemLogTest() {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(::bind(service, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    }
    ~SyslogSystemLogTest() override { ::close(service); }

    /// The entries that wait, without facility and time.
    std::vector<std::string> entries() {
        std::vector<std::string> found;
        std::string bytes(100'000, '\0');
        for (ssize_t size = 0; (size = ::read(service, bytes.data(), bytes.size())) >= 0;) {
            const auto entry = bytes.substr(0, static_cast<std::size_t>(size));
            EXPECT_EQ(entry.substr(0, 4), "<13>");
            found.push_back(entry.substr(entry.find("quoxelin-desktop[")));
        }
        return found;
    }

    static std::string entry(const std::string& text) {
        return "quoxelin-desktop[" + std::to_string(::getpid()) + "]: " + text;
    }

    TemporaryDirectory folder;
    const std::string path = folder.path() / "log";
    const int service = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    SyslogSystemLog log{path};
};

TEST_F(SyslogSystemLogTest, sendsEachEntryAtOnce) {
    log.log("[App] %s \n");
    log.log("com.quoxelin", "VPN", "許可");
    EXPECT_EQ(entries(), (std::vector{entry("[App] %s \n"), entry("com.quoxelin:VPN: 許可")}));
}

TEST_F(SyslogSystemLogTest, keepsWhatFollowsANul) {
    log.log(std::string("a\0b", 3));
    EXPECT_EQ(entries(), std::vector{entry("a b")});
}

TEST_F(SyslogSystemLogTest, dividesALongTextBetweenCharacters) {
    std::string text = "x";
    while (text.size() < 20'000)
        text += "許";
    log.log(text);
    std::string whole;
    for (const auto& part : entries()) {
        const auto words = part.substr(entry("").size());
        EXPECT_LE(words.size(), 8'000u);
        EXPECT_NE(static_cast<unsigned char>(words.front()) & 0xC0, 0x80);
        whole += words;
    }
    EXPECT_EQ(whole, text);
}

TEST_F(SyslogSystemLogTest, waitsOnceAndShortlyForAServiceThatDoesNotRead) {
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 1'000; ++i)
        log.log("flood");
    const auto taken = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(taken, std::chrono::milliseconds(20)); // a service that is only slow loses nothing
    EXPECT_LT(taken, std::chrono::milliseconds(100));
    EXPECT_FALSE(entries().empty());
    log.log("read again");
    EXPECT_EQ(entries(), std::vector{entry("read again")});
}

TEST(SyslogSystemLog, survivesWithoutAService) {
    const TemporaryDirectory folder;
    SyslogSystemLog(folder.path() / "log").log("lost");
}

} // namespace quoxelin::testing
