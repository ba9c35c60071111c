#pragma once

#include "Base/Result.h"
#include "Base/SystemError.h"

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace quoxelin {

/// A connected byte stream. Reading and writing belong to one thread and block; an interrupted
/// system call is continued, a peer that went away is an error value (EPIPE), never a signal.
/// Destruction closes the stream.
class Connection {
  public:
    virtual ~Connection() = default;

    /// One read: the bytes' count, 0 at the end of the stream.
    virtual Result<std::size_t, SystemError> read(std::span<char> into) = 0;

    /// One write: the count taken, which may be short.
    virtual Result<std::size_t, SystemError> write(std::string_view bytes) = 0;

    /// Ends both directions, from any thread: a blocked `read` returns 0.
    virtual void shutdown() = 0;
};

/// Why there is no connection.
struct ConnectError {
    enum class Reason { socketCreateFailed, socketPathTooLong, connectFailed };
    Reason reason;
    SystemError error;
};

/// Opens connections; the transport under the daemon's clients.
class Connector {
  public:
    virtual ~Connector() = default;

    /// Connects to the Unix-domain stream socket at `path`. Blocks while the peer's backlog is
    /// full. Any thread.
    virtual Result<std::unique_ptr<Connection>, ConnectError> connect(const std::string& path) = 0;
};

} // namespace quoxelin
