#include "Runner/Stores/AppViewState.h"

#include "Runner/Services/State/LocalAPIClient.h"
#include "Runner/Shared/OpenURL.h"

#include <utility>

namespace quoxelin {

namespace {

constexpr int loginPollingLimit = 120;
constexpr double loginPollingInterval = 1.0;

} // namespace

void AppViewState::pollForLoginCompletion() {
    if (mainThread.takesOver([this] { pollForLoginCompletion(); }))
        return;
    scheduleLoginPollingTick(
        std::make_shared<LoginPolling>(LoginPolling{0, loginPollingGeneration}));
}

void AppViewState::scheduleLoginPollingTick(std::shared_ptr<LoginPolling> polling) {
    mainThread.asyncAfter(seconds(loginPollingInterval),
                          [this, polling = std::move(polling)] { loginPollingTick(polling); });
}

void AppViewState::loginPollingTick(const std::shared_ptr<LoginPolling>& polling) {
    ++polling->attempts;
    if (polling->attempts > loginPollingLimit || polling->generation != loginPollingGeneration)
        return;
    if (login->isLoggedIn)
        return;
    if (polling->attempts % 3 == 0)
        dependencies.localAPI.triggerLogin([](const auto&) {});
    dependencies.localAPI.getStatus(
        mainThread.callback([this, polling](const Result<DaemonStatus, LocalAPIError>& answer) {
            loginPollingAnswer(polling, answer);
        }));
}

void AppViewState::loginPollingAnswer(const std::shared_ptr<LoginPolling>& polling,
                                      const Result<DaemonStatus, LocalAPIError>& answer) {
    // An answer from before a logout must not bring the account back.
    if (login->isLoggedIn || polling->generation != loginPollingGeneration)
        return;
    if (answer)
        applyStatus(*answer);
    if (login->isLoggedIn)
        connect();
    else
        scheduleLoginPollingTick(polling);
}

void AppViewState::endLoginPolling() {
    ++loginPollingGeneration;
}

void AppViewState::logout() {
    if (mainThread.takesOver([this] { logout(); }))
        return;
    log("logout called");
    isLoggingOut = true;
    endLoginPolling();
    cancelVPNRetry();
    disconnect();
    login = LoginViewState{};
    currentBackendState = HashiBusState::noState;
    hashiBus->logout();
    mainThread.asyncAfter(seconds(0.3), [this] { refreshProfiles(); });
}

void AppViewState::refreshProfilesWithRetry(const std::optional<std::string>& targetId,
                                            int attempts, double delay) {
    refreshProfiles();
    if (attempts < 2)
        return;
    if (targetId && *targetId == currentProfileId.get())
        return;
    mainThread.asyncAfter(seconds(delay), [this, targetId, attempts, delay] {
        refreshProfilesWithRetry(targetId, attempts - 1, delay);
    });
}

void AppViewState::applyLocalCurrentProfile(const std::string& id) {
    auto marked = profiles.get();
    for (auto& profile : marked)
        profile.isCurrent = profile.id == id;
    profiles = std::move(marked);
    currentProfileId = id;
    auto next = login.get();
    next.jailedReason.reset();
    publishLoginIfChanged(next);
}

void AppViewState::switchProfile(std::string id) {
    if (mainThread.takesOver([this, id] { switchProfile(id); }))
        return;
    log("switchProfile to " + id);
    applyLocalCurrentProfile(id);
    dependencies.localAPI.switchProfile(
        id, mainThread.callback([this, id](const Result<void, LocalAPIError>& answer) {
            if (answer) {
                log("Profile switch successful");
                refreshProfilesWithRetry(id, 10, 0.3);
            } else {
                log("Failed to switch profile: " + answer.error().errorDescription());
                refreshProfiles();
            }
        }));
}

void AppViewState::switchProfileAndLogin(std::string id) {
    if (mainThread.takesOver([this, id] { switchProfileAndLogin(id); }))
        return;
    log("switchProfileAndLogin to " + id);
    applyLocalCurrentProfile(id);
    dependencies.localAPI.switchProfile(
        id, mainThread.callback([this, id](const Result<void, LocalAPIError>& answer) {
            if (!answer) {
                log("switchProfileAndLogin failed: " + answer.error().errorDescription());
                refreshProfiles();
                return;
            }
            refreshProfilesWithRetry(id, 10, 0.3);
            dependencies.localAPI.startLogin(
                mainThread.callback([this](const Result<std::string, LocalAPIError>& page) {
                    if (page)
                        openWebPage(dependencies.workspace, *page);
                    else
                        log("startLogin after switch failed: " + page.error().errorDescription());
                }));
        }));
}

void AppViewState::addNewAccount() {
    if (mainThread.takesOver([this] { addNewAccount(); }))
        return;
    log("addNewAccount called");
    dependencies.localAPI.switchToEmptyProfile(
        mainThread.callback([this](const Result<void, LocalAPIError>& answer) {
            if (!answer) {
                log("Failed to switch to empty profile: " + answer.error().errorDescription());
                return;
            }
            log("Switched to empty profile, starting login flow");
            dependencies.localAPI.startLogin(
                mainThread.callback([this](const Result<std::string, LocalAPIError>& page) {
                    if (!page) {
                        log("Failed to get login URL: " + page.error().errorDescription());
                        return;
                    }
                    log("Got login URL for new account");
                    openWebPage(dependencies.workspace, *page);
                }));
        }));
}

} // namespace quoxelin
