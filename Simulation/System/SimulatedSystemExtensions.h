#pragma once

#include "Base/Dispatch.h"
#include "Base/Lifetime.h"
#include "Platform/SystemExtensions.h"

#include <optional>

namespace quoxelin {

/// The system extensions of a system in memory, and the user who allows them. Main thread only.
///
/// Fresh, no extension is installed, every one is allowed, and answers come on the next turn of the
/// main queue. The public fields may be changed any time and count from then on.
class SimulatedSystemExtensions final : public OSSystemExtensionManager {
  public:
    explicit SimulatedSystemExtensions(Dispatch& dispatch) : dispatch(dispatch) {}

    void submitRequest(const OSSystemExtensionRequest& request) override;

    // How the system behaves

    /// The version that ships inside the application. Where another one is installed, the
    /// application is asked whether to replace it.
    std::string bundledVersion = "1.0";
    /// How long the system takes to answer.
    Duration answerDelay{0};
    /// False: requests of that kind are never answered.
    bool answersActivations = true;
    bool answersProperties = true;
    /// Requests of that kind fail with the error.
    std::optional<Error> activationError;
    std::optional<Error> propertiesError;
    /// The raw result of a successful activation.
    int result = static_cast<int>(OSSystemExtensionRequestResult::completed);

    // What a user does

    /// From now on an activation waits until a user allows the extension.
    void requireApproval() { approvalRequired = true; }

    /// A user allows the extensions, those that wait and those to come: the requests that wait
    /// are finished.
    void approve();

    /// Ends all outstanding activations with the error: a user cancels them (code 11), or
    /// something else supersedes them (code 12).
    void failActivations(const Error& error);

    // What is installed, and what was asked

    /// Every version that is installed or waits for approval.
    std::vector<OSSystemExtensionProperties> extensions;

    /// Every request submitted so far, in order.
    const std::vector<OSSystemExtensionRequest>& requests() const { return submitted; }
    std::size_t submissions(OSSystemExtensionRequest::Kind kind) const;

    /// Activations that have neither finished nor failed.
    std::size_t outstandingActivations() const { return outstanding.size(); }

  private:
    struct Activation {
        OSSystemExtensionRequest request;
        bool waitsForApproval = false;
    };

    void later(std::function<void()> work);
    void answerProperties(const OSSystemExtensionRequest& request);
    void supersede(const std::string& identifier);
    void work(const std::shared_ptr<Activation>& activation);
    bool mayReplace(const Activation& activation);
    void finish(const std::shared_ptr<Activation>& activation);
    void fail(const std::shared_ptr<Activation>& activation, const Error& error);
    bool take(const std::shared_ptr<Activation>& activation);
    void install(const std::string& identifier, bool isEnabled, bool isAwaitingUserApproval);

    Dispatch& dispatch;
    bool approvalRequired = false;
    std::vector<OSSystemExtensionRequest> submitted;
    std::vector<std::shared_ptr<Activation>> outstanding;
    Lifetime lifetime;
};

} // namespace quoxelin
