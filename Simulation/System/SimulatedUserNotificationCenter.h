#pragma once

#include "Base/Dispatch.h"
#include "Platform/UserNotifications.h"

#include <mutex>
#include <utility>
#include <vector>

namespace quoxelin {

/// Notifications in memory, and the user who allows them. Any thread; completions run on a
/// background queue.
class SimulatedUserNotificationCenter final : public UNUserNotificationCenter {
  public:
    explicit SimulatedUserNotificationCenter(Dispatch& dispatch)
        : state(std::make_shared<State>(dispatch)) {}

    void setDelegate(std::weak_ptr<UNUserNotificationCenterDelegate> delegate) override {
        set(&State::delegate, std::move(delegate));
    }

    void getNotificationSettings(std::function<void(UNNotificationSettings)> completion) override {
        const auto delay = get(&State::settingsDelay);
        auto answer = [state = state, completion = std::move(completion)] {
            std::unique_lock reading(state->mutex);
            const UNNotificationSettings settings{state->status};
            reading.unlock();
            completion(settings);
        };
        if (delay <= Duration::zero())
            return complete(*state, std::move(answer));
        state->dispatch.main().asyncAfter(
            delay, [state = state, answer = std::move(answer)] { complete(*state, answer); });
    }

    void requestAuthorization(unsigned options,
                              std::function<void(bool, std::optional<Error>)> completion) override {
        const std::lock_guard lock(state->mutex);
        state->asked.push_back(options);
        if (!state->authorizationError &&
            state->status == static_cast<int>(UNAuthorizationStatus::notDetermined)) {
            state->waiting.push_back(std::move(completion));
            return;
        }
        const bool granted = !state->authorizationError &&
                             state->status != static_cast<int>(UNAuthorizationStatus::denied);
        complete(*state, [completion = std::move(completion), granted,
                          error = state->authorizationError] { completion(granted, error); });
    }

    void add(const UNNotificationRequest& request) override {
        const std::lock_guard lock(state->mutex);
        state->added.push_back(request);
        if (state->status != static_cast<int>(UNAuthorizationStatus::authorized) &&
            state->status != static_cast<int>(UNAuthorizationStatus::provisional))
            return;
        if (!state->applicationActive)
            state->shown.push_back({request, std::nullopt});
        else
            state->dispatch.main().async([state = state, request] { present(state, request); });
    }

    /// The user answers the permission question. Waiting and later requests get this answer.
    void answer(bool granted) {
        const std::lock_guard lock(state->mutex);
        state->status = static_cast<int>(granted ? UNAuthorizationStatus::authorized
                                                 : UNAuthorizationStatus::denied);
        for (auto& completion : std::exchange(state->waiting, {}))
            complete(*state, [completion = std::move(completion), granted] {
                completion(granted, std::nullopt);
            });
    }

    /// Makes the question unanswered again.
    void forgetAnswer() {
        setAuthorizationStatus(static_cast<int>(UNAuthorizationStatus::notDetermined));
    }

    /// Sets a raw `UNAuthorizationStatus`, even one that no answer leads to.
    void setAuthorizationStatus(int status) { set(&State::status, status); }

    /// If set, asking fails with the error and changes nothing.
    void failAuthorization(std::optional<Error> error) {
        set(&State::authorizationError, std::move(error));
    }

    /// How long reading the settings takes; initially no time.
    void setSettingsDelay(Duration delay) { set(&State::settingsDelay, delay); }

    /// Whether the application is in front, so that its delegate is asked how to show a
    /// notification.
    void setApplicationActive(bool active) { set(&State::applicationActive, active); }

    /// All notifications that the application added, delivered or not.
    std::vector<UNNotificationRequest> requests() const { return get(&State::added); }

    /// A notification that reached the user.
    struct Delivered {
        UNNotificationRequest request;
        /// The delegate's answer; empty if it was not asked.
        std::optional<unsigned> presentationOptions;
    };
    std::vector<Delivered> delivered() const { return get(&State::shown); }

    /// The options of every request for authorization.
    std::vector<unsigned> authorizationRequests() const { return get(&State::asked); }

    /// True while a request for authorization waits for the user.
    bool isAskingForAuthorization() const { return !get(&State::waiting).empty(); }

  private:
    struct State {
        explicit State(Dispatch& dispatch) : dispatch(dispatch) {}
        Dispatch& dispatch;
        mutable std::mutex mutex;
        std::weak_ptr<UNUserNotificationCenterDelegate> delegate;
        int status = 0;
        std::optional<Error> authorizationError;
        Duration settingsDelay{0};
        bool applicationActive = false;
        std::vector<std::function<void(bool, std::optional<Error>)>> waiting;
        std::vector<UNNotificationRequest> added;
        std::vector<Delivered> shown;
        std::vector<unsigned> asked;
    };

    static void complete(State& state, Work completion) {
        state.dispatch.global(QualityOfService::standard).async(std::move(completion));
    }

    static void present(const std::shared_ptr<State>& state, const UNNotificationRequest& request) {
        std::unique_lock lock(state->mutex);
        const auto delegate = state->delegate.lock();
        lock.unlock();
        // Without a delegate, nothing is shown while the application is in front.
        if (delegate == nullptr)
            return;
        delegate->willPresent(request, [state, request](unsigned options) {
            const std::lock_guard delivering(state->mutex);
            state->shown.push_back({request, options});
        });
    }

    template <typename T>
    T get(T State::*field) const {
        const std::lock_guard lock(state->mutex);
        return (*state).*field;
    }
    template <typename T>
    void set(T State::*field, std::type_identity_t<T> value) {
        const std::lock_guard lock(state->mutex);
        (*state).*field = std::move(value);
    }

    std::shared_ptr<State> state;
};

} // namespace quoxelin
