#pragma once

#include "Base/Dispatch.h"
#include "Base/Lifetime.h"
#include "Platform/SystemExtensions.h"

#include <algorithm>
#include <optional>

namespace quoxelin {

/// System extensions in memory, and the user who allows them. Main thread only.
///
/// Initially no extension is installed, every one is allowed, and answers come on the next turn of
/// the main queue. The public fields may be changed at any time.
class SimulatedSystemExtensions final : public OSSystemExtensionManager {
  public:
    explicit SimulatedSystemExtensions(Dispatch& dispatch) : dispatch(dispatch) {}

    void submitRequest(const OSSystemExtensionRequest& request) override {
        submitted.push_back(request);
        if (request.kind == OSSystemExtensionRequest::Kind::properties) {
            if (answersProperties)
                later([this, request] { answerProperties(request); });
            return;
        }
        for (const auto& activation : outstanding)
            if (activation->request.identifier == request.identifier)
                failLater(activation, systemError(OSSystemExtensionError::requestSuperseded,
                                                  "The request was superseded."));
        const auto activation = std::make_shared<Activation>(Activation{request});
        outstanding.push_back(activation);
        if (answersActivations)
            later([this, activation] { work(activation); });
    }

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
    void approve() {
        approvalRequired = false;
        for (const auto& activation : outstanding)
            if (activation->waitsForApproval)
                later([this, activation] { finish(activation); });
    }

    /// Ends all outstanding activations with the error, for example canceled (11) or superseded
    /// (12).
    void failActivations(const Error& error) {
        for (const auto& activation : outstanding)
            failLater(activation, error);
    }

    // State

    /// All versions that are installed or wait for approval.
    std::vector<OSSystemExtensionProperties> extensions;

    /// All submitted requests, in order.
    const std::vector<OSSystemExtensionRequest>& requests() const { return submitted; }
    std::size_t submissions(OSSystemExtensionRequest::Kind kind) const {
        return std::count_if(submitted.begin(), submitted.end(),
                             [kind](const auto& request) { return request.kind == kind; });
    }

    /// The number of activations that have neither finished nor failed.
    std::size_t outstandingActivations() const { return outstanding.size(); }

  private:
    struct Activation {
        OSSystemExtensionRequest request;
        bool waitsForApproval = false;
    };

    static Error systemError(OSSystemExtensionError code, const std::string& description) {
        return {OSSystemExtensionErrorDomain, static_cast<int>(code), description};
    }

    void later(Work work) {
        if (answerDelay == Duration::zero())
            dispatch.main().async(lifetime.weakly(std::move(work)));
        else
            dispatch.main().asyncAfter(answerDelay, lifetime.weakly(std::move(work)));
    }

    void answerProperties(const OSSystemExtensionRequest& request) {
        const auto delegate = request.delegate.lock();
        if (!delegate)
            return;
        if (propertiesError)
            return delegate->didFailWithError(request, *propertiesError);
        auto found = extensions;
        std::erase_if(found,
                      [&](const auto& one) { return one.bundleIdentifier != request.identifier; });
        delegate->foundProperties(request, found);
    }

    void work(const std::shared_ptr<Activation>& activation) {
        const auto& request = activation->request;
        if (std::find(outstanding.begin(), outstanding.end(), activation) == outstanding.end())
            return;
        if (activationError)
            return fail(activation, *activationError);
        if (!mayReplace(request))
            return fail(activation, systemError(OSSystemExtensionError::requestCanceled,
                                                "The request was canceled."));
        if (!approvalRequired)
            return finish(activation);
        activation->waitsForApproval = true;
        install(request.identifier, false);
        if (const auto delegate = request.delegate.lock())
            delegate->requestNeedsUserApproval(request);
    }

    bool mayReplace(const OSSystemExtensionRequest& request) {
        const auto installed =
            std::find_if(extensions.begin(), extensions.end(), [&](const auto& one) {
                return one.bundleIdentifier == request.identifier && !one.isAwaitingUserApproval;
            });
        if (installed == extensions.end() || installed->bundleShortVersion == bundledVersion)
            return true;
        const auto delegate = request.delegate.lock();
        // Copied, because the answer may change the list.
        const auto existing = *installed;
        return delegate && delegate->actionForReplacingExtension(
                               request, existing,
                               {request.identifier, bundledVersion, existing.isEnabled, false}) ==
                               OSSystemExtensionReplacementAction::replace;
    }

    // Both do nothing if the activation has already ended.
    void finish(const std::shared_ptr<Activation>& activation) {
        const auto& request = activation->request;
        if (std::erase(outstanding, activation) == 0)
            return;
        if (result == static_cast<int>(OSSystemExtensionRequestResult::completed))
            install(request.identifier, true);
        if (const auto delegate = request.delegate.lock())
            delegate->didFinishWithResult(request, result);
    }
    void fail(const std::shared_ptr<Activation>& activation, const Error& error) {
        if (std::erase(outstanding, activation) == 0)
            return;
        if (const auto delegate = activation->request.delegate.lock())
            delegate->didFailWithError(activation->request, error);
    }

    void failLater(const std::shared_ptr<Activation>& activation, const Error& error) {
        later([this, activation, error] { fail(activation, error); });
    }

    /// The bundled version replaces one that waits for approval. If enabled, it replaces all
    /// others.
    void install(const std::string& identifier, bool isEnabled) {
        std::erase_if(extensions, [&](const auto& one) {
            return one.bundleIdentifier == identifier && (isEnabled || one.isAwaitingUserApproval);
        });
        extensions.push_back({identifier, bundledVersion, isEnabled, !isEnabled});
    }

    Dispatch& dispatch;
    bool approvalRequired = false;
    std::vector<OSSystemExtensionRequest> submitted;
    std::vector<std::shared_ptr<Activation>> outstanding;
    Lifetime lifetime;
};

} // namespace quoxelin
