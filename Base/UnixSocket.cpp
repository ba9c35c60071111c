#include "Base/UnixSocket.h"

#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace quoxelin {

namespace {

constexpr std::size_t pathFieldSize = 104;
constexpr socklen_t addressLength = offsetof(sockaddr_un, sun_path) + pathFieldSize;

#ifdef MSG_NOSIGNAL
constexpr int sendFlags = MSG_NOSIGNAL;
#else
constexpr int sendFlags = 0;
#endif

int openStreamSocket() {
#ifdef SOCK_CLOEXEC
    return ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
#else
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (descriptor >= 0) {
        const int on = 1;
        ::setsockopt(descriptor, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    }
    return descriptor;
#endif
}

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.data(), path.size());
#ifdef __APPLE__
    address.sun_len = static_cast<unsigned char>(path.size() + 2);
#endif
    return address;
}

template <typename Call>
Result<std::size_t, SystemError> retryingInterrupted(Call call) {
    for (;;) {
        const auto count = call();
        if (count >= 0)
            return static_cast<std::size_t>(count);
        if (errno != EINTR)
            return tl::unexpected(SystemError::last());
    }
}

} // namespace

Result<std::unique_ptr<Connection>, ConnectError> UnixSocket::connect(const std::string& path) {
    auto socket = std::make_unique<UnixSocket>(-1); // first, as there may be no memory
    const int descriptor = socket->descriptor = openStreamSocket();
    if (descriptor < 0)
        return tl::unexpected(
            ConnectError{ConnectError::Reason::socketCreateFailed, SystemError::last()});
    if (path.size() >= pathFieldSize)
        return tl::unexpected(
            ConnectError{ConnectError::Reason::socketPathTooLong, SystemError{ENAMETOOLONG}});
    const auto address = addressOf(path);
    // If a signal interrupts connect() on a Unix socket, the attempt is undone, so just retry it.
    const auto connected = retryingInterrupted([&] {
        return ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), addressLength);
    });
    if (!connected)
        return tl::unexpected(ConnectError{ConnectError::Reason::connectFailed, connected.error()});
    return socket;
}

UnixSocket::~UnixSocket() {
    if (descriptor >= 0)
        ::close(descriptor);
}

Result<std::size_t, SystemError> UnixSocket::read(std::span<char> into) {
    return retryingInterrupted([&] { return ::read(descriptor, into.data(), into.size()); });
}

Result<std::size_t, SystemError> UnixSocket::write(std::string_view bytes) {
    return retryingInterrupted(
        [&] { return ::send(descriptor, bytes.data(), bytes.size(), sendFlags); });
}

void UnixSocket::shutdown() {
    ::shutdown(descriptor, SHUT_RDWR);
}

} // namespace quoxelin
