#include "Runner/Services/State/HashiBusClient.h"

#include "Base/Connection.h"
#include "Base/Utf8.h"
#include "Runner/Shared/AppLogger.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fmt/format.h>
#include <new>

namespace quoxelin {

namespace {

constexpr std::size_t readSize = 4'096;
constexpr std::size_t logoutResponseSize = 1'024;
constexpr Duration pauseBetweenAttempts = seconds(3.0);
constexpr std::size_t longestBacklog = std::size_t(1) << 20;
constexpr Duration pauseWhileBehind = seconds(0.001);

/// Buffers that grew beyond this for one huge line are released.
constexpr std::size_t keptCapacity = std::size_t(1) << 20;

bool mayBeObject(std::string_view line) {
    const auto start = line.find_first_not_of(" \t\r");
    return start != std::string_view::npos && line[start] == '{';
}

} // namespace

HashiBusClient::HashiBusClient(const Dependencies& dependencies, std::string socketPath)
    : dependencies(dependencies), socketPath(std::move(socketPath)),
      requestData("GET /localapi/v0/observe-hashi-bus HTTP/1.1\r\n"
                  "Host: local-quoxelind.sock\r\n\r\n"),
      queue(dependencies.dispatch.makeSerial("com.quoxelin.desktop.hashibus")) {}

void HashiBusClient::start() {
    if (stopSignal.isStopped() || isRunning.exchange(true))
        return;
    queue->async([weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->connectLoop();
    });
}

void HashiBusClient::stop() {
    isRunning = false;
    stopSignal.stop();
}

void HashiBusClient::logout() {
    dependencies.dispatch.global(QualityOfService::standard).async([weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->performLogout();
    });
}

void HashiBusClient::connectLoop() {
    while (isRunning) {
        auto connection = dependencies.connector.connect(socketPath);
        if (!isRunning)
            break;
        if (connection)
            follow(*std::move(connection));
        else
            dependencies.logger.log("HashiBus", "Connection failed, retrying in 3s...");
        if (!isRunning)
            break;
        dependencies.dispatch.sleep(pauseBetweenAttempts);
    }
}

void HashiBusClient::follow(std::unique_ptr<Connection> connection) {
    dependencies.logger.log("HashiBus", "Connected to socket");
    postNote("HashiBus connected");
    if (!connection->write(requestData))
        connection->shutdown(); // else the daemon would wait for the request and we for its stream
    readStream(*connection);
    connection.reset();
    postNote("HashiBus disconnected: nil");
}

void HashiBusClient::postNote(std::string note) {
    dependencies.dispatch.main().async([self = shared_from_this(), note = std::move(note)] {
        if (!self->delegate.expired())
            self->dependencies.logger.log("State", note);
    });
}

void HashiBusClient::readStream(Connection& connection) try {
    const auto interruption = stopSignal.onStop([&connection] { connection.shutdown(); });
    std::array<char, readSize> scratch{};
    while (isRunning) {
        const auto count = connection.read(scratch);
        if (!count) {
            if (isRunning)
                dependencies.logger.log("HashiBus", "Read error: " + count.error().message());
            return;
        }
        if (*count == 0) {
            dependencies.logger.log("HashiBus", "EOF");
            return;
        }
        processData({scratch.data(), *count});
    }
} catch (const std::bad_alloc&) {
    // Without what is left of this stream; the next one begins with the daemon's whole state.
    buffer = {};
    scanned = 0;
    dependencies.logger.log("HashiBus", "Read error: " + SystemError{ENOMEM}.message());
}

void HashiBusClient::processData(std::string_view data) {
    buffer += data;
    std::size_t consumed = 0;
    if (!headersReceived) {
        constexpr std::string_view separator = "\r\n\r\n";
        // The separator may start in the part that has already been searched.
        const auto found =
            buffer.find(separator, scanned - std::min(scanned, separator.size() - 1));
        if (found == std::string::npos) {
            scanned = buffer.size();
            return;
        }
        headersReceived = true;
        consumed = scanned = found + separator.size();
    }
    for (;;) {
        const auto end = buffer.find('\n', scanned);
        if (end == std::string::npos)
            break;
        processLine(std::string_view(buffer).substr(consumed, end - consumed),
                    buffer.capacity() - end);
        consumed = scanned = end + 1;
    }
    // The rest came with this read, so little is moved, and only once per read.
    buffer.erase(0, consumed);
    scanned = buffer.size();
    if (consumed > keptCapacity)
        buffer.shrink_to_fit();
}

void HashiBusClient::processLine(std::string_view line, std::size_t padding) {
    // Lines that are not notifications (e.g. chunk sizes) are ignored, most of them unparsed.
    if (!mayBeObject(line))
        return;
    auto decoded = json::decode<HashiBusNotify>(line, padding);
    if (!decoded)
        return;
    waitForMainThread();
    const auto size = line.size() + sizeof(HashiBusNotify);
    backlog += size;
    dependencies.dispatch.main().async(
        [self = shared_from_this(), size,
         notify = std::make_shared<const HashiBusNotify>(*std::move(decoded))] {
            self->backlog -= size;
            if (const auto receiver = self->delegate.lock())
                receiver->hashiBusDidReceiveNotify(*notify);
        });
}

void HashiBusClient::waitForMainThread() const {
    while (isRunning && backlog > longestBacklog)
        dependencies.dispatch.sleep(pauseWhileBehind);
}

void HashiBusClient::performLogout() {
    auto& logger = dependencies.logger;
    const auto connection = dependencies.connector.connect(socketPath);
    if (!connection) {
        logger.log("HashiBus", "Logout failed: Could not open socket");
        return;
    }
    const auto written = (*connection)
                             ->write("POST /localapi/v0/logout HTTP/1.1\r\n"
                                     "Host: local-quoxelind.sock\r\n\r\n");
    if (!written) {
        logger.log("HashiBus", "Logout write failed: " + written.error().message());
        return;
    }
    logger.log("HashiBus", fmt::format("Logout request sent, bytes: {}", *written));
    std::array<char, logoutResponseSize> scratch{};
    const auto count = (*connection)->read(scratch);
    if (!count || *count == 0) {
        logger.log("HashiBus", "Logout response empty or error");
        return;
    }
    const std::string_view response(scratch.data(), *count);
    logger.log("HashiBus", fmt::format("Logout response: {}",
                                       isValidUtf8(response) ? response : std::string_view()));
}

} // namespace quoxelin
