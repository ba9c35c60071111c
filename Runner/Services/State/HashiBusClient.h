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

    /// Main thread, in the order of the stream.
    virtual void hashiBusDidReceiveNotify(const HashiBusNotify& notify) = 0;
};

/// Follows the daemon's notification stream for the life of the process: connects, reads line by
/// line, and connects again 3 seconds after every attempt that failed or ended.
///
/// Its loop occupies a serial queue of its own, which alone touches the connection and the buffer.
class HashiBusClient : public std::enable_shared_from_this<HashiBusClient> {
  public:
    struct Dependencies {
        Dispatch& dispatch;
        Connector& connector;
        AppLogger& logger;
    };

    HashiBusClient(const Dependencies& dependencies, std::string socketPath);

    /// Held weakly; set and read on the main thread.
    std::weak_ptr<HashiBusClientDelegate> delegate;

    /// Begins to follow the stream; a second call does nothing.
    void start();

    /// Ends it for good: the blocked read returns, the loop ends without another attempt. An
    /// attempt that waits for a daemon too busy to accept it is not cut short; a connection that
    /// it still brings is closed unused. Any thread.
    void stop();

    /// Asks the daemon to log out, over a connection of its own. The outcome is only logged.
    void logout();

  private:
    void connectLoop();
    void follow(std::unique_ptr<Connection> connection);
    void readStream(Connection& connection);
    void processData(std::string_view data);
    void processLine(std::string_view line);
    void postNote(std::string note);
    void performLogout();

    Dependencies dependencies;
    std::string socketPath;
    std::string requestData;
    std::unique_ptr<SerialQueue> queue;
    std::atomic<bool> isRunning = false;
    StopSignal stopSignal;

    // What one stream leaves unfinished the next one goes on with: after the first connection the
    // header's lines pass as lines that are no notifications.
    std::string buffer;
    bool headersReceived = false;
    /// How much of the buffer is known to hold no end of what is looked for.
    std::size_t scanned = 0;
};

} // namespace quoxelin
