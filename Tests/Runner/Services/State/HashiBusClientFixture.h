#pragma once

#include "Runner/Services/State/HashiBusClient.h"
#include "Tests/Support/LinkFixture.h"

#include <memory>
#include <string>
#include <vector>

namespace quoxelin::testing {

/// A bus client before its start, its daemon, and a delegate that records notifications.
class HashiBusClientFixture : public LinkFixture {
  protected:
    using Lines = std::vector<std::string>;

    /// Records the versions of the notifications, which identify them.
    class Delegate final : public HashiBusClientDelegate {
      public:
        explicit Delegate(VirtualDispatch& dispatch) : dispatch(dispatch) {}

        void hashiBusDidReceiveNotify(const HashiBusNotify& notify) override {
            EXPECT_TRUE(dispatch.isMainThread());
            versions += notify.version.value_or("-");
        }

        std::string versions;

      private:
        VirtualDispatch& dispatch;
    };

    HashiBusClientFixture() { client->delegate = delegate; }

    ~HashiBusClientFixture() override { client->stop(); }

    static std::string line(const std::string& version) {
        return "{\"Version\":\"" + version + "\"}\n";
    }

    void start() {
        client->start();
        dispatch.runUntilIdle();
    }

    void send(const std::string& bytes) {
        daemon.send(bytes);
        dispatch.runUntilIdle();
    }

    std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>(dispatch);
    std::shared_ptr<HashiBusClient> client = std::make_shared<HashiBusClient>(
        HashiBusClient::Dependencies{dispatch, daemon, logger}, socketPath);
};

} // namespace quoxelin::testing
