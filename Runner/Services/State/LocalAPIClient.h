#pragma once

#include "Base/Dispatch.h"
#include "Base/Result.h"
#include "Runner/Models/HashiBus/DaemonStatus.h"
#include "Runner/Models/HashiBus/ProfilesResponse.h"
#include "Runner/Services/State/LocalAPIError.h"

#include <optional>
#include <string>
#include <string_view>

namespace quoxelin {

class AppLogger;
class Connector;

/// Requests to the daemon: one connection per request, which the daemon closes after its reply.
/// Calls may come from any thread and return at once. Completions are called exactly once, on a
/// background thread. There are no retries and no time-outs.
class LocalAPIClient {
  public:
    using Bytes = std::string;

    struct Dependencies {
        Dispatch& dispatch;
        Connector& connector;
        AppLogger& logger;
    };

    LocalAPIClient(const Dependencies& dependencies, std::string socketPath);

    static LocalAPIClient& shared();

    void getStatus(Completion<DaemonStatus, LocalAPIError> completion);

    void getProfiles(Completion<ProfilesResponse, LocalAPIError> completion);

    void switchProfile(const std::string& id, Completion<void, LocalAPIError> completion);

    void switchToEmptyProfile(Completion<void, LocalAPIError> completion);

    /// Asks the daemon to log in, and ignores the content of its reply.
    void triggerLogin(Completion<void, LocalAPIError> completion);

    void setWantRunning(bool wantRunning, Completion<void, LocalAPIError> completion);

    /// Succeeds with the URL of the login page.
    void startLogin(Completion<std::string, LocalAPIError> completion);

    /// Finds the login URL in a reply, at any depth and in any accepted spelling of its key.
    static std::optional<std::string> extractInteractiveLoginURL(std::string_view body);

  private:
    void sendRequest(std::string method, std::string path,
                     Completion<Bytes, LocalAPIError> completion);
    void sendRequestWithBody(std::string method, std::string path, std::optional<Bytes> body,
                             Completion<Bytes, LocalAPIError> completion);

    Dependencies dependencies;
    std::string socketPath;
};

} // namespace quoxelin
