#include "Simulation/System/SimulatedSystemExtensions.h"

#include <algorithm>

namespace quoxelin {

namespace {

Error extensionError(OSSystemExtensionError code, const std::string& description) {
    return {OSSystemExtensionErrorDomain, static_cast<int>(code), description};
}

} // namespace

void SimulatedSystemExtensions::submitRequest(const OSSystemExtensionRequest& request) {
    submitted.push_back(request);
    if (request.kind == OSSystemExtensionRequest::Kind::properties) {
        if (answersProperties)
            later([this, request] { answerProperties(request); });
        return;
    }
    supersede(request.identifier);
    const auto activation = std::make_shared<Activation>(Activation{request});
    outstanding.push_back(activation);
    if (answersActivations)
        later([this, activation] { work(activation); });
}

void SimulatedSystemExtensions::approve() {
    approvalRequired = false;
    for (const auto& activation : outstanding) {
        if (activation->waitsForApproval)
            later([this, activation] { finish(activation); });
    }
}

void SimulatedSystemExtensions::failActivations(const Error& error) {
    for (const auto& activation : outstanding)
        later([this, activation, error] { fail(activation, error); });
}

std::size_t SimulatedSystemExtensions::submissions(OSSystemExtensionRequest::Kind kind) const {
    return std::count_if(submitted.begin(), submitted.end(),
                         [kind](const auto& request) { return request.kind == kind; });
}

void SimulatedSystemExtensions::later(std::function<void()> work) {
    if (answerDelay == Duration::zero())
        dispatch.main().async(lifetime.weakly(std::move(work)));
    else
        dispatch.main().asyncAfter(answerDelay, lifetime.weakly(std::move(work)));
}

void SimulatedSystemExtensions::answerProperties(const OSSystemExtensionRequest& request) {
    const auto delegate = request.delegate.lock();
    if (!delegate)
        return;
    if (propertiesError) {
        delegate->didFailWithError(request, *propertiesError);
        return;
    }
    std::vector<OSSystemExtensionProperties> found;
    for (const auto& one : extensions) {
        if (one.bundleIdentifier == request.identifier)
            found.push_back(one);
    }
    delegate->foundProperties(request, found);
}

void SimulatedSystemExtensions::supersede(const std::string& identifier) {
    for (const auto& activation : outstanding) {
        if (activation->request.identifier == identifier)
            later([this, activation] {
                fail(activation, extensionError(OSSystemExtensionError::requestSuperseded,
                                                "The request was superseded."));
            });
    }
}

void SimulatedSystemExtensions::work(const std::shared_ptr<Activation>& activation) {
    if (std::find(outstanding.begin(), outstanding.end(), activation) == outstanding.end())
        return;
    if (activationError) {
        fail(activation, *activationError);
        return;
    }
    if (!mayReplace(*activation)) {
        fail(activation,
             extensionError(OSSystemExtensionError::requestCanceled, "The request was canceled."));
        return;
    }
    if (!approvalRequired) {
        finish(activation);
        return;
    }
    activation->waitsForApproval = true;
    install(activation->request.identifier, false, true);
    if (const auto delegate = activation->request.delegate.lock())
        delegate->requestNeedsUserApproval(activation->request);
}

bool SimulatedSystemExtensions::mayReplace(const Activation& activation) {
    const auto& identifier = activation.request.identifier;
    const auto installed = std::find_if(extensions.begin(), extensions.end(), [&](const auto& one) {
        return one.bundleIdentifier == identifier && !one.isAwaitingUserApproval;
    });
    if (installed == extensions.end() || installed->bundleShortVersion == bundledVersion)
        return true;
    const auto delegate = activation.request.delegate.lock();
    // Copied, because the answer may change the list.
    const auto existing = *installed;
    return delegate && delegate->actionForReplacingExtension(
                           activation.request, existing,
                           {identifier, bundledVersion, existing.isEnabled, false}) ==
                           OSSystemExtensionReplacementAction::replace;
}

void SimulatedSystemExtensions::finish(const std::shared_ptr<Activation>& activation) {
    if (!take(activation))
        return;
    if (result == static_cast<int>(OSSystemExtensionRequestResult::completed))
        install(activation->request.identifier, true, false);
    if (const auto delegate = activation->request.delegate.lock())
        delegate->didFinishWithResult(activation->request, result);
}

void SimulatedSystemExtensions::fail(const std::shared_ptr<Activation>& activation,
                                     const Error& error) {
    if (!take(activation))
        return;
    if (const auto delegate = activation->request.delegate.lock())
        delegate->didFailWithError(activation->request, error);
}

/// False if the activation has already ended.
bool SimulatedSystemExtensions::take(const std::shared_ptr<Activation>& activation) {
    const auto place = std::find(outstanding.begin(), outstanding.end(), activation);
    if (place == outstanding.end())
        return false;
    outstanding.erase(place);
    return true;
}

/// The bundled version replaces one that waits for approval. Once enabled, it replaces all others.
void SimulatedSystemExtensions::install(const std::string& identifier, bool isEnabled,
                                        bool isAwaitingUserApproval) {
    extensions.erase(std::remove_if(extensions.begin(), extensions.end(),
                                    [&](const auto& one) {
                                        return one.bundleIdentifier == identifier &&
                                               (isEnabled || one.isAwaitingUserApproval);
                                    }),
                     extensions.end());
    extensions.push_back({identifier, bundledVersion, isEnabled, isAwaitingUserApproval});
}

} // namespace quoxelin
