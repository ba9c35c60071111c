#include "Platform/Linux/SyslogSystemLog.h"

#include "Base/LocalTime.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fmt/chrono.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

namespace quoxelin {

namespace {

/// All log services accept an entry of this size.
constexpr std::size_t longestEntry = 8'000;
constexpr timeval patience{0, 20'000};

/// The length of the first part of the text, which ends between two characters.
std::size_t firstPart(std::string_view text) {
    if (text.size() <= longestEntry)
        return text.size();
    auto end = longestEntry;
    while (end > longestEntry - 4 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        --end;
    return end;
}

} // namespace

SyslogSystemLog::SyslogSystemLog(std::string socketPath)
    : socketPath(std::move(socketPath)),
      descriptor(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    ::setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
}

SyslogSystemLog::~SyslogSystemLog() {
    ::close(descriptor);
}

void SyslogSystemLog::log(const std::string& text) {
    // The services end an entry at a NUL.
    auto readable = text;
    std::replace(readable.begin(), readable.end(), '\0', ' ');
    for (std::string_view rest = readable; !rest.empty();) {
        const auto size = firstPart(rest);
        send(rest.substr(0, size));
        rest.remove_prefix(size);
    }
}

void SyslogSystemLog::log(const std::string& subsystem, const std::string& category,
                          const std::string& text) {
    log(fmt::format("{}:{}: {}", subsystem, category, text));
}

void SyslogSystemLog::send(std::string_view text) {
    const auto entry =
        fmt::format("<{}>{:%b %e %H:%M:%S} quoxelin-desktop[{}]: {}", LOG_USER | LOG_NOTICE,
                    localTime(std::time(nullptr)), ::getpid(), text);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
    // With the address each time, because the service may start again and again.
    const auto sent =
        ::sendto(descriptor, entry.data(), entry.size(), MSG_NOSIGNAL | (isRead ? 0 : MSG_DONTWAIT),
                 reinterpret_cast<const sockaddr*>(&address), sizeof address);
    isRead = sent >= 0 || errno != EAGAIN;
}

} // namespace quoxelin
