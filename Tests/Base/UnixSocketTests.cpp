#include "Base/UnixSocket.h"

#include "Tests/Support/Descriptors.h"
#include "Tests/Support/InterruptingSignal.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace quoxelin {

namespace {

using Reason = ConnectError::Reason;
using quoxelin::testing::InterruptingSignal;
using quoxelin::testing::openDescriptors;
using quoxelin::testing::RoomForDescriptors;

/// Works in a temporary directory with a short path, because socket paths are limited.
class UnixSocketTest : public ::testing::Test {
  protected:
    UnixSocketTest() {
        std::string pattern = "/tmp/qxXXXXXX";
        directory = ::mkdtemp(pattern.data());
    }
    ~UnixSocketTest() override {
        if (listener >= 0)
            ::close(listener);
        std::filesystem::remove_all(directory);
    }

    /// A path of the given length in the directory.
    std::string pathOfLength(std::size_t length) const {
        return directory + '/' + std::string(length - directory.size() - 1, 's');
    }

    void listenAt(const std::string& path, int backlog = 8) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path.data(), path.size());
        listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
        ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), length), 0);
        ASSERT_EQ(::listen(listener, backlog), 0);
    }

    std::string directory;
    int listener = -1;
};

/// Both ends of a connection; `ours` is the application's.
struct Sockets {
    Sockets() {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()) != 0)
            throw std::runtime_error("no pair of sockets");
        ours = std::make_unique<UnixSocket>(ends[0]);
        theirs = ends[1];
    }
    ~Sockets() { closeTheirs(); }

    void closeTheirs() {
        if (theirs >= 0)
            ::close(theirs);
        theirs = -1;
    }

    std::unique_ptr<UnixSocket> ours;
    int theirs = -1;
};

/// Descriptors that a program started now would inherit.
std::size_t descriptorsForOtherPrograms() {
    std::size_t count = 0;
    for (int descriptor = 0; descriptor < 256; ++descriptor) {
        const int flags = ::fcntl(descriptor, F_GETFD);
        count += flags >= 0 && (flags & FD_CLOEXEC) == 0 ? 1 : 0;
    }
    return count;
}

} // namespace

TEST_F(UnixSocketTest, connectsReadsAndWrites) {
    const auto path = directory + "/socket";
    listenAt(path);
    const auto connection = UnixSocketConnector().connect(path);
    ASSERT_TRUE(connection.has_value());
    const int peer = ::accept(listener, nullptr, nullptr);
    EXPECT_EQ((*connection)->write("ping"), 4u);
    std::array<char, 16> bytes{};
    EXPECT_EQ(::read(peer, bytes.data(), bytes.size()), 4);
    EXPECT_EQ(::write(peer, "pong!", 5), 5);
    EXPECT_EQ((*connection)->read(bytes), 5u);
    EXPECT_EQ(std::string_view(bytes.data(), 5), "pong!");
    ::close(peer);
    EXPECT_EQ((*connection)->read(bytes), 0u);
}

TEST_F(UnixSocketTest, takesPathsOfUpTo103Bytes) {
    const auto path = pathOfLength(103);
    listenAt(path);
    EXPECT_TRUE(UnixSocket::connect(path).has_value());
    for (const std::size_t length : {104, 105, 1'000}) {
        const auto tooLong = UnixSocket::connect(pathOfLength(length));
        ASSERT_FALSE(tooLong.has_value());
        EXPECT_EQ(tooLong.error().reason, Reason::socketPathTooLong);
    }
}

TEST_F(UnixSocketTest, countsThePathInBytes) {
    std::string path = pathOfLength(60);
    for (int i = 0; i < 22; ++i)
        path += "é";
    ASSERT_EQ(path.size(), 104u);
    EXPECT_EQ(UnixSocket::connect(path).error().reason, Reason::socketPathTooLong);
}

TEST_F(UnixSocketTest, saysWhyItCannotConnect) {
    const auto path = directory + "/socket";
    const auto errorOf = [](const std::string& at) {
        const auto connection = UnixSocket::connect(at);
        return connection ? std::string("connected") : connection.error().error.message();
    };
    EXPECT_EQ(errorOf(path), "No such file or directory");
    listenAt(path);
    ::close(listener);
    listener = -1;
    EXPECT_EQ(errorOf(path), "Connection refused");
    EXPECT_EQ(UnixSocket::connect(path).error().reason, Reason::connectFailed);
}

TEST_F(UnixSocketTest, leavesNoDescriptorOpen) {
    const auto path = directory + "/socket";
    listenAt(path);
    const auto before = openDescriptors();
    {
        const auto connection = UnixSocket::connect(path);
        EXPECT_EQ(openDescriptors(), before + 1);
    }
    EXPECT_FALSE(UnixSocket::connect(path + "2").has_value());
    EXPECT_FALSE(UnixSocket::connect(pathOfLength(104)).has_value());
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(UnixSocketTest, saysThatThereIsNoDescriptor) {
    // The sanitizers need descriptors to look at a type for the first time.
    EXPECT_FALSE(UnixSocket::connect(directory + "/socket").has_value());
    const RoomForDescriptors none(0);
    const auto connection = UnixSocket::connect(directory + "/socket");
    ASSERT_FALSE(connection.has_value());
    EXPECT_EQ(connection.error().reason, Reason::socketCreateFailed);
    EXPECT_EQ(connection.error().error, SystemError{EMFILE});
}

TEST_F(UnixSocketTest, worksWithoutStandardInput) {
    const auto path = directory + "/socket";
    listenAt(path);
    const int input = ::dup(STDIN_FILENO);
    ::close(STDIN_FILENO);
    EXPECT_TRUE(UnixSocket::connect(path).has_value());
    EXPECT_EQ(::fcntl(STDIN_FILENO, F_GETFD), -1) << "it had that descriptor, and has closed it";
    ::dup2(input, STDIN_FILENO);
    ::close(input);
}

TEST_F(UnixSocketTest, keepsItsDescriptorFromOtherPrograms) {
    const auto path = directory + "/socket";
    listenAt(path);
    const auto before = descriptorsForOtherPrograms();
    const auto connection = UnixSocket::connect(path);
    ASSERT_TRUE(connection.has_value());
    EXPECT_EQ(descriptorsForOtherPrograms(), before);
}

TEST_F(UnixSocketTest, continuesConnectingAfterASignal) {
    // On systems where connect() blocks on a full backlog, the second attempt blocks here.
    const auto path = directory + "/socket";
    listenAt(path, 0);
    const auto first = UnixSocket::connect(path);
    ASSERT_TRUE(first.has_value());
    const InterruptingSignal signal;
    std::optional<bool> connected;
    std::atomic<bool> done = false;
    std::thread connecting([&] {
        connected = UnixSocket::connect(path).has_value();
        done = true;
    });
    for (int i = 0; i < 10'000 && !done; ++i)
        signal.interrupt(connecting);
    const int peer = ::accept(listener, nullptr, nullptr);
    connecting.join();
    EXPECT_EQ(connected, true);
    ::close(peer);
}

TEST_F(UnixSocketTest, reportsAClosedPeerAsAValue) {
    Sockets pair;
    pair.closeTheirs();
    const auto written = pair.ours->write("x");
    ASSERT_FALSE(written.has_value());
    EXPECT_EQ(written.error(), SystemError{EPIPE});
    EXPECT_EQ(written.error().message(), "Broken pipe");
}

TEST_F(UnixSocketTest, reportsAFailedRead) {
    UnixSocket none(-1);
    std::array<char, 4> bytes{};
    EXPECT_EQ(none.read(bytes).error(), SystemError{EBADF});
    EXPECT_EQ(none.write("x").error(), SystemError{EBADF});
}

TEST_F(UnixSocketTest, endsABlockedReadFromAnotherThread) {
    Sockets pair;
    Result<std::size_t, SystemError> outcome = 99;
    std::thread reader([&] {
        std::array<char, 4> bytes{};
        outcome = pair.ours->read(bytes);
    });
    pair.ours->shutdown();
    reader.join();
    EXPECT_EQ(outcome, 0u);
    EXPECT_EQ(pair.ours->write("x").error(), SystemError{EPIPE});
}

TEST_F(UnixSocketTest, continuesReadingAfterASignal) {
    const InterruptingSignal signal;
    Sockets pair;
    Result<std::size_t, SystemError> outcome = 99;
    std::array<char, 4> bytes{};
    std::atomic<bool> done = false;
    std::thread reader([&] {
        outcome = pair.ours->read(bytes);
        done = true;
    });
    for (int i = 0; i < 1'000; ++i)
        signal.interrupt(reader);
    EXPECT_FALSE(done);
    EXPECT_EQ(::write(pair.theirs, "abc", 3), 3);
    reader.join();
    EXPECT_EQ(outcome, 3u);
}

TEST_F(UnixSocketTest, writesAsMuchAsThePeerHasRoomForOnceSignaled) {
    Sockets pair;
    const InterruptingSignal signal;
    const std::string large(std::size_t(64) << 20, 'x');
    Result<std::size_t, SystemError> written = 0;
    std::atomic<bool> done = false;
    std::thread writer([&] {
        written = pair.ours->write(large);
        done = true;
    });
    // Without a reader the write blocks after a partial write, until a signal makes it return.
    while (!done)
        signal.interrupt(writer);
    writer.join();
    ASSERT_TRUE(written.has_value());
    EXPECT_GT(*written, 0u);
    EXPECT_LT(*written, large.size());
}

} // namespace quoxelin
