#pragma once

#include "Base/Connection.h"
#include "Platform/SystemLog.h"
#include "Runner/Services/State/HashiBusClient.h"
#include "Runner/Services/State/LocalAPIClient.h"
#include "Runner/Shared/AppLogger.h"
#include "Simulation/System/SimulatedFoundation.h"
#include "Tests/Support/InlineDispatch.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>

namespace quoxelin::testing {

/// Sends the same bytes whatever it receives, at most `chunkSize()` per read, then ends.
class RecitingConnection final : public Connection {
  public:
    RecitingConnection(std::string_view bytes, std::function<std::size_t()> chunkSize)
        : bytes(bytes), chunkSize(std::move(chunkSize)) {}

    Result<std::size_t, SystemError> read(std::span<char> into) override {
        const auto count =
            std::min({into.size(), std::max<std::size_t>(chunkSize(), 1), bytes.size()});
        std::copy_n(bytes.data(), count, into.data());
        bytes.remove_prefix(count);
        return count;
    }
    Result<std::size_t, SystemError> write(std::string_view request) override {
        return request.size();
    }
    void shutdown() override { bytes = {}; }

  private:
    std::string_view bytes;
    std::function<std::size_t()> chunkSize;
};

/// The daemon's two clients without threads, clock or files, for fuzzers and benchmarks. A call
/// returns once all its effects have happened.
class InlineLink final : public Connector {
  public:
    using Connect = std::function<std::unique_ptr<Connection>()>;

    explicit InlineLink(Connect connect) : connectNext(std::move(connect)) {
        files.temporary = "/dev/null";
    }
    InlineLink(std::string_view bytes, std::size_t chunkSize)
        : InlineLink([=] {
              return std::make_unique<RecitingConnection>(bytes, [=] { return chunkSize; });
          }) {}

    LocalAPIClient api() { return {{dispatch, *this, logger}, "socket"}; }

    /// Follows the stream of one connection to its end.
    void followOneStream(std::function<void(const HashiBusNotify&)> receive) {
        struct Delegate final : HashiBusClientDelegate {
            std::function<void(const HashiBusNotify&)> receive;
            void hashiBusDidReceiveNotify(const HashiBusNotify& notify) override {
                receive(notify);
            }
        };
        const auto delegate = std::make_shared<Delegate>();
        delegate->receive = std::move(receive);
        const auto client = std::make_shared<HashiBusClient>(
            HashiBusClient::Dependencies{dispatch, *this, logger}, "socket");
        client->delegate = delegate;
        dispatch.onSleep = [&client] { client->stop(); };
        client->start();
    }

    Result<std::unique_ptr<Connection>, ConnectError> connect(const std::string&) override {
        return connectNext();
    }

  private:
    struct Silent final : SystemLog {
        void log(const std::string&) override {}
        void log(const std::string&, const std::string&, const std::string&) override {}
    };

    Connect connectNext;
    InlineDispatch dispatch;
    SimulatedFileManager files;
    Silent systemLog;
    AppLogger logger{{dispatch, files, systemLog}};
};

} // namespace quoxelin::testing
