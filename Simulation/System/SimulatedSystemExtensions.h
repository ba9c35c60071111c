#pragma once

#include "Base/Dispatch.h"
#include "Base/Lifetime.h"
#include "Platform/SystemExtensions.h"

#include <optional>

namespace quoxelin {

/// System extensions in memory, and the user who allows them. Main thread only.
///
/// Initially no extension is installed, every one is allowed, and answers come on the next turn of
/// the main queue. The public fields may be changed at any time.
class SimulatedSystemExtensions final : public OSSystemExtensionManager {
  public:
    explicit SimulatedSystemExtensions(Dispatch& dispatch) : dispatch(dispatch) {}

    void submitRequest(const OSSystemExtensionRequest& request) override;

    // Settings

    /// The version in the application's bundle. If another one is installed, the application is
    /// asked whether to replace it.
    std::string bundledVersion = "1.0";
    /// How long the system takes to answer.
    Duration answerDelay{0};
    /// If false, requests of that kind are never answered.
    bool answersActivations = true;
    bool answersProperties = true;
    /// If set, requests of that kind fail with the error.
    std::optional<Error> activationError;
    std::optional<Error> propertiesError;
    /// The raw result of a successful activation.
    int result = static_cast<int>(OSSystemExtensionRequestResult::completed);

    // The user

    /// From now on activations wait until the user allows the extension.
    void requireApproval() { approvalRequired = true; }

    /// The user allows all extensions, now and later. Finishes the waiting requests.
    void approve();

    /// Ends all outstanding activations with the error, for example canceled (11) or superseded
    /// (12).
    void failActivations(const Error& error);

    // State

    /// All versions that are installed or wait for approval.
    std::vector<OSSystemExtensionProperties> extensions;

    /// All submitted requests, in order.
    const std::vector<OSSystemExtensionRequest>& requests() const { return submitted; }
    std::size_t submissions(OSSystemExtensionRequest::Kind kind) const;

    /// The number of activations that have neither finished nor failed.
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
