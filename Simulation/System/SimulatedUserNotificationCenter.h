#pragma once

#include "Base/Dispatch.h"
#include "Platform/UserNotifications.h"

#include <mutex>
#include <vector>

namespace quoxelin {

/// The system's notifications and the person who allows them. Any thread; the completions come on
/// a background queue.
class SimulatedUserNotificationCenter final : public UNUserNotificationCenter {
  public:
    explicit SimulatedUserNotificationCenter(Dispatch& dispatch)
        : state(std::make_shared<State>(dispatch)) {}

    void setDelegate(std::weak_ptr<UNUserNotificationCenterDelegate> delegate) override;
    void getNotificationSettings(std::function<void(UNNotificationSettings)> completion) override;
    void requestAuthorization(unsigned options,
                              std::function<void(bool, std::optional<Error>)> completion) override;
    void add(const UNNotificationRequest& request) override;

    /// The person answers the question, now and for good. Requests that wait are told; so are
    /// those that come later.
    void answer(bool granted);

    /// The person has not been asked yet, or the question is forgotten.
    void forgetAnswer();

    /// A raw `UNAuthorizationStatus`, also one that no answer leads to.
    void setAuthorizationStatus(int status);

    /// Asking fails with the error (and changes nothing); none: it works.
    void failAuthorization(std::optional<Error> error);

    /// How long the settings take to come; at once to begin with.
    void setSettingsDelay(Duration delay);

    /// Whether the application is in front: its delegate is asked how a notification shows.
    void setApplicationActive(bool active);

    /// All that the application added, delivered or not.
    std::vector<UNNotificationRequest> requests() const;

    /// A notification that the person has seen, or could have.
    struct Delivered {
        UNNotificationRequest request;
        /// What the delegate answered; absent when it was not asked.
        std::optional<unsigned> presentationOptions;
    };
    std::vector<Delivered> delivered() const;

    /// The options of every request for authorization.
    std::vector<unsigned> authorizationRequests() const;

    /// True while a request for authorization waits for the person.
    bool isAskingForAuthorization() const;

  private:
    using AuthorizationCompletion = std::function<void(bool, std::optional<Error>)>;
    struct State {
        explicit State(Dispatch& dispatch) : dispatch(dispatch) {}
        Dispatch& dispatch;
        mutable std::mutex mutex;
        std::weak_ptr<UNUserNotificationCenterDelegate> delegate;
        int status = 0;
        std::optional<Error> authorizationError;
        Duration settingsDelay{0};
        bool applicationActive = false;
        std::vector<AuthorizationCompletion> waiting;
        std::vector<UNNotificationRequest> added;
        std::vector<Delivered> shown;
        std::vector<unsigned> asked;
    };
    static void present(const std::shared_ptr<State>& state, const UNNotificationRequest& request);

    std::shared_ptr<State> state;
};

} // namespace quoxelin
