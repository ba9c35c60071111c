#include "Simulation/System/SimulatedUserNotificationCenter.h"

#include <utility>

namespace quoxelin {

namespace {

constexpr int raw(UNAuthorizationStatus status) {
    return static_cast<int>(status);
}

void complete(Dispatch& dispatch, Work completion) {
    dispatch.global(QualityOfService::standard).async(std::move(completion));
}

} // namespace

void SimulatedUserNotificationCenter::setDelegate(
    std::weak_ptr<UNUserNotificationCenterDelegate> delegate) {
    const std::lock_guard lock(state->mutex);
    state->delegate = std::move(delegate);
}

void SimulatedUserNotificationCenter::getNotificationSettings(
    std::function<void(UNNotificationSettings)> completion) {
    const std::lock_guard lock(state->mutex);
    auto answer = [state = state, completion = std::move(completion)] {
        std::unique_lock reading(state->mutex);
        const UNNotificationSettings settings{state->status};
        reading.unlock();
        completion(settings);
    };
    if (state->settingsDelay <= Duration::zero()) {
        complete(state->dispatch, std::move(answer));
        return;
    }
    state->dispatch.main().asyncAfter(
        state->settingsDelay,
        [state = state, answer = std::move(answer)] { complete(state->dispatch, answer); });
}

void SimulatedUserNotificationCenter::requestAuthorization(
    unsigned options, std::function<void(bool, std::optional<Error>)> completion) {
    const std::lock_guard lock(state->mutex);
    state->asked.push_back(options);
    if (state->authorizationError) {
        complete(state->dispatch,
                 [completion = std::move(completion), error = state->authorizationError] {
                     completion(false, error);
                 });
        return;
    }
    if (state->status == raw(UNAuthorizationStatus::notDetermined)) {
        state->waiting.push_back(std::move(completion));
        return;
    }
    const bool granted = state->status != raw(UNAuthorizationStatus::denied);
    complete(state->dispatch,
             [completion = std::move(completion), granted] { completion(granted, std::nullopt); });
}

void SimulatedUserNotificationCenter::add(const UNNotificationRequest& request) {
    const std::lock_guard lock(state->mutex);
    state->added.push_back(request);
    if (state->status != raw(UNAuthorizationStatus::authorized) &&
        state->status != raw(UNAuthorizationStatus::provisional))
        return;
    if (!state->applicationActive) {
        state->shown.push_back({request, std::nullopt});
        return;
    }
    state->dispatch.main().async([state = state, request] { present(state, request); });
}

void SimulatedUserNotificationCenter::present(const std::shared_ptr<State>& state,
                                              const UNNotificationRequest& request) {
    std::unique_lock lock(state->mutex);
    const auto delegate = state->delegate.lock();
    lock.unlock();
    // Without a delegate, a notification for the application in front does not show.
    if (delegate == nullptr)
        return;
    delegate->willPresent(request, [state, request](unsigned options) {
        const std::lock_guard delivering(state->mutex);
        state->shown.push_back({request, options});
    });
}

void SimulatedUserNotificationCenter::answer(bool granted) {
    const std::lock_guard lock(state->mutex);
    state->status =
        raw(granted ? UNAuthorizationStatus::authorized : UNAuthorizationStatus::denied);
    for (auto& completion : std::exchange(state->waiting, {}))
        complete(state->dispatch, [completion = std::move(completion), granted] {
            completion(granted, std::nullopt);
        });
}

void SimulatedUserNotificationCenter::forgetAnswer() {
    setAuthorizationStatus(raw(UNAuthorizationStatus::notDetermined));
}

void SimulatedUserNotificationCenter::setAuthorizationStatus(int status) {
    const std::lock_guard lock(state->mutex);
    state->status = status;
}

void SimulatedUserNotificationCenter::failAuthorization(std::optional<Error> error) {
    const std::lock_guard lock(state->mutex);
    state->authorizationError = std::move(error);
}

void SimulatedUserNotificationCenter::setSettingsDelay(Duration delay) {
    const std::lock_guard lock(state->mutex);
    state->settingsDelay = delay;
}

void SimulatedUserNotificationCenter::setApplicationActive(bool active) {
    const std::lock_guard lock(state->mutex);
    state->applicationActive = active;
}

std::vector<UNNotificationRequest> SimulatedUserNotificationCenter::requests() const {
    const std::lock_guard lock(state->mutex);
    return state->added;
}

std::vector<SimulatedUserNotificationCenter::Delivered>
SimulatedUserNotificationCenter::delivered() const {
    const std::lock_guard lock(state->mutex);
    return state->shown;
}

std::vector<unsigned> SimulatedUserNotificationCenter::authorizationRequests() const {
    const std::lock_guard lock(state->mutex);
    return state->asked;
}

bool SimulatedUserNotificationCenter::isAskingForAuthorization() const {
    const std::lock_guard lock(state->mutex);
    return !state->waiting.empty();
}

} // namespace quoxelin
