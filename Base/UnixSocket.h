#pragma once

#include "Base/Connection.h"

namespace quoxelin {

/// Owns the descriptor of a Unix-domain socket.
class UnixSocket final : public Connection {
  public:
    /// The path with its closing NUL must fit into 104 bytes, the smallest address field of our
    /// platforms, so that a path works on all of them.
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

class UnixSocketConnector final : public Connector {
  public:
    Result<std::unique_ptr<Connection>, ConnectError> connect(const std::string& path) override {
        return UnixSocket::connect(path);
    }
};

} // namespace quoxelin
