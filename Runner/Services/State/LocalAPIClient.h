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

/// Asks the daemon and tells it what to do: one connection a request, closed by the daemon after
/// its reply. Calls may come from any thread and return at once; completions are called exactly
/// once, on a background thread. Nothing is retried and nothing times out.
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

    /// GET "/localapi/v0/status".
    void getStatus(Completion<DaemonStatus, LocalAPIError> completion);

    /// GET "/localapi/v0/profiles".
    void getProfiles(Completion<ProfilesResponse, LocalAPIError> completion);

    /// POST "/localapi/v0/profiles/switch?id=".
    void switchProfile(const std::string& id, Completion<void, LocalAPIError> completion);

    /// POST "/localapi/v0/profiles/switch-to-empty".
    void switchToEmptyProfile(Completion<void, LocalAPIError> completion);

    /// POST "/localapi/v0/login"; what it answers is of no interest.
    void triggerLogin(Completion<void, LocalAPIError> completion);

    /// PATCH "/localapi/v0/hatago".
    void setWantRunning(bool wantRunning, Completion<void, LocalAPIError> completion);

    /// POST "/localapi/v0/login"; succeeds with the URL at which a person logs in.
    void startLogin(Completion<std::string, LocalAPIError> completion);

    /// Finds the login URL in a reply, wherever and however spelled the daemon put it.
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
