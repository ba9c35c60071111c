#pragma once

#include "Base/Connection.h"

namespace quoxelin {

/// The one owner of a Unix-domain socket's descriptor.
class UnixSocket final : public Connection {
  public:
    /// The path has to be shorter than the 104 bytes that the smallest address field among our
    /// platforms offers, its closing NUL included, so that a path means the same everywhere.
    static Result<std::unique_ptr<Connection>, ConnectError> connect(const std::string& path);

    explicit UnixSocket(int descriptor) : descriptor(descriptor) {}
    UnixSocket(const UnixSocket&) = delete;
    UnixSocket& operator=(const UnixSocket&) = delete;
    ~UnixSocket() override;

    Result<std::size_t, SystemError> read(std::span<char> into) override;
    Result<std::size_t, SystemError> write(std::string_view bytes) override;
    void shutdown() override;

  private:
    int descriptor;
};

/// Connects to real sockets.
class UnixSocketConnector final : public Connector {
  public:
    Result<std::unique_ptr<Connection>, ConnectError> connect(const std::string& path) override {
        return UnixSocket::connect(path);
    }
};

} // namespace quoxelin
