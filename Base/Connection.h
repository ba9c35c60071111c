#pragma once

#include "Base/Result.h"
#include "Base/SystemError.h"

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace quoxelin {

/// A connected byte stream. Reading and writing belong to one thread and block. An interrupted
/// system call is retried. If the peer has gone, the call returns an error (EPIPE) and raises no
/// signal. The destructor closes the stream.
class Connection {
  public:
    virtual ~Connection() = default;

    /// Reads once. Returns the number of bytes, 0 at the end of the stream.
    virtual Result<std::size_t, SystemError> read(std::span<char> into) = 0;

    /// Writes once. Returns the number of bytes taken, which may be fewer than given.
    virtual Result<std::size_t, SystemError> write(std::string_view bytes) = 0;

    /// Closes both directions. A blocked `read` returns 0. Any thread.
    virtual void shutdown() = 0;
};

/// Why a connection failed.
struct ConnectError {
    enum class Reason { socketCreateFailed, socketPathTooLong, connectFailed };
    Reason reason;
    SystemError error;
};

/// Opens the connections to the daemon.
class Connector {
  public:
    virtual ~Connector() = default;

    /// Connects to the Unix-domain stream socket at `path`. Blocks while the listener's backlog is
    /// full. Any thread.
    virtual Result<std::unique_ptr<Connection>, ConnectError> connect(const std::string& path) = 0;
};

} // namespace quoxelin
