#pragma once

#include "Runner/Services/State/LocalAPIClient.h"
#include "Tests/Support/LinkFixture.h"

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace quoxelin::testing {

/// Records the calls of a completion and their results.
template <typename T>
struct Receiver {
    std::vector<Result<T, LocalAPIError>> outcomes;

    Completion<T, LocalAPIError> completion() {
        return [this](Result<T, LocalAPIError> outcome) { outcomes.push_back(std::move(outcome)); };
    }

    const Result<T, LocalAPIError>& outcome() const {
        if (outcomes.size() != 1)
            throw std::logic_error("completed " + std::to_string(outcomes.size()) + " times");
        return outcomes.front();
    }
};

/// A client of the local API with its daemon, and short forms of its requests.
class LocalAPIClientFixture : public LinkFixture {
  protected:
    using Case = LocalAPIError::Case;

    Receiver<void> triggerLogin() {
        Receiver<void> receiver;
        client.triggerLogin(receiver.completion());
        dispatch.runUntilIdle();
        return receiver;
    }

    Result<std::string, LocalAPIError> startLogin() {
        Receiver<std::string> receiver;
        client.startLogin(receiver.completion());
        dispatch.runUntilIdle();
        return receiver.outcome();
    }

    Result<DaemonStatus, LocalAPIError> getStatus() {
        Receiver<DaemonStatus> receiver;
        client.getStatus(receiver.completion());
        dispatch.runUntilIdle();
        return receiver.outcome();
    }

    Result<ProfilesResponse, LocalAPIError> getProfiles() {
        Receiver<ProfilesResponse> receiver;
        client.getProfiles(receiver.completion());
        dispatch.runUntilIdle();
        return receiver.outcome();
    }

    /// Checks that both kinds of exchange report the same transport failure.
    void expectTransportFailure(const LocalAPIError& error) {
        EXPECT_EQ(triggerLogin().outcome().error(), error);
        EXPECT_EQ(startLogin().error(), error);
        EXPECT_EQ(daemon.openConnections(), 0u);
    }

    void answerLogin(std::string bytes) {
        daemon.answer("POST", "/localapi/v0/login", SimulatedDaemon::raw(std::move(bytes)));
    }

    LocalAPIClient client{{dispatch, daemon, logger}, socketPath};
};
} // namespace quoxelin::testing
