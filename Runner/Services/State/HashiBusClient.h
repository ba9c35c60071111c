#pragma once

#include "Base/Dispatch.h"
#include "Base/StopSignal.h"
#include "Runner/Models/HashiBus/HashiBusNotify.h"

#include <atomic>
#include <memory>
#include <string>
#include <string_view>

namespace quoxelin {

class AppLogger;
class Connection;
class Connector;

class HashiBusClientDelegate {
  public:
    virtual ~HashiBusClientDelegate() = default;

    /// Called on the main thread, in the order of the stream.
    virtual void hashiBusDidReceiveNotify(const HashiBusNotify& notify) = 0;
};

/// Follows the daemon's notification stream for the life of the process: connects, reads line by
/// line, and reconnects 3 seconds after an attempt fails or ends.
///
/// The loop runs on its own serial queue; only that queue uses the connection and the buffer. While
/// the main thread is behind, the loop waits, so that a flood stays with the daemon.
class HashiBusClient : public std::enable_shared_from_this<HashiBusClient> {
  public:
    struct Dependencies {
        Dispatch& dispatch;
        Connector& connector;
        AppLogger& logger;
    };

    HashiBusClient(const Dependencies& dependencies, std::string socketPath);

    /// Weak. Set and read on the main thread.
    std::weak_ptr<HashiBusClientDelegate> delegate;

    /// Starts following the stream. A second call does nothing.
    void start();

    /// Stops permanently: a blocked read returns and the loop ends. A connect() already blocked on
    /// a busy daemon is not interrupted; if it succeeds later the connection is closed at once. Any
    /// thread.
    void stop();

    /// Asks the daemon to log out, over a separate connection. The outcome is only logged.
    void logout();

  private:
    void connectLoop();
    void follow(std::unique_ptr<Connection> connection);
    void readStream(Connection& connection);
    void processData(std::string_view data);
    void processLine(std::string_view line, std::size_t padding);
    void waitForMainThread() const;
    void postNote(std::string note);
    void performLogout();

    Dependencies dependencies;
    std::string socketPath;
    std::string requestData;
    std::unique_ptr<SerialQueue> queue;
    std::atomic<bool> isRunning = false;
    StopSignal stopSignal;
    /// The memory of the notifications that the main thread has not handled yet, about.
    std::atomic<std::size_t> backlog = 0;

    // Deliberately not reset on reconnect: after the first connection, header lines go through the
    // parser and are ignored.
    std::string buffer;
    bool headersReceived = false;
    /// How much of the buffer has been searched without a match.
    std::size_t scanned = 0;
};

} // namespace quoxelin
