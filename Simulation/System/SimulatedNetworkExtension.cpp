#include "Simulation/System/SimulatedNetworkExtension.h"

#include <algorithm>

namespace quoxelin {

namespace {

Error vpnError(NEVPNError code, const std::string& description) {
    return {NEVPNErrorDomain, static_cast<int>(code), description};
}

bool isSame(const SimulatedNetworkExtension::Configuration& one,
            const SimulatedNetworkExtension::Configuration& other) {
    if (one.localizedDescription != other.localizedDescription ||
        one.isEnabled != other.isEnabled || !one.protocol != !other.protocol)
        return false;
    if (!one.protocol)
        return true;
    if (one.protocol->serverAddress != other.protocol->serverAddress ||
        one.protocol->disconnectOnSleep != other.protocol->disconnectOnSleep ||
        !one.tunnel() != !other.tunnel())
        return false;
    return !one.tunnel() ||
           one.tunnel()->providerBundleIdentifier == other.tunnel()->providerBundleIdentifier;
}

} // namespace

SimulatedNetworkExtension::Configuration
SimulatedNetworkExtension::Configuration::ofTunnel(const std::string& providerBundleIdentifier,
                                                   const std::string& localizedDescription) {
    auto protocol = std::make_shared<NETunnelProviderProtocol>();
    protocol->serverAddress = "localhost";
    protocol->providerBundleIdentifier = providerBundleIdentifier;
    return {localizedDescription, true, std::move(protocol)};
}

SimulatedNetworkExtension::Configuration SimulatedNetworkExtension::Configuration::copy() const {
    auto result = *this;
    if (tunnel() != nullptr)
        result.protocol = std::make_shared<NETunnelProviderProtocol>(*tunnel());
    else if (protocol)
        result.protocol = std::make_shared<NEVPNProtocol>(*protocol);
    return result;
}

/// The application's object: a working copy of a configuration and a reference to the saved one.
class SimulatedNetworkExtension::Manager final : public NETunnelProviderManager,
                                                 public std::enable_shared_from_this<Manager> {
  public:
    /// The working copy is empty until it is loaded or set.
    Manager(SimulatedNetworkExtension& system, std::shared_ptr<Saved> saved)
        : system(system), saved(std::move(saved)) {}

    void loadFromPreferences(PreferencesCompletion completion) override {
        system.perform(
            Operation::load, [self = shared_from_this()] { self->read(); }, std::move(completion));
    }
    void saveToPreferences(PreferencesCompletion completion) override {
        system.perform(
            Operation::save,
            [self = shared_from_this(), configuration = working.copy()] {
                self->system.save(self->saved, configuration);
            },
            std::move(completion));
    }
    void removeFromPreferences(PreferencesCompletion completion) override {
        system.perform(
            Operation::remove, [self = shared_from_this()] { self->system.remove(self->saved); },
            std::move(completion));
    }

    std::shared_ptr<NEVPNProtocol> protocolConfiguration() const override {
        return system.protocolAccess == ProtocolAccess::byReference ? working.protocol
                                                                    : working.copy().protocol;
    }
    void setProtocolConfiguration(std::shared_ptr<NEVPNProtocol> protocol) override {
        working.protocol = std::move(protocol);
        if (system.protocolAccess == ProtocolAccess::byCopy)
            working = working.copy();
    }

    std::optional<std::string> localizedDescription() const override {
        return working.localizedDescription;
    }
    void setLocalizedDescription(const std::string& description) override {
        working.localizedDescription = description;
    }

    bool isEnabled() const override { return working.isEnabled; }
    void setEnabled(bool enabled) override { working.isEnabled = enabled; }

    std::shared_ptr<NEVPNConnection> connection() const override {
        return system.hasConnections ? saved->connection : nullptr;
    }

    /// Copies the saved configuration to the working copy; clears it if there is none.
    void read() { working = saved->isSaved ? saved->configuration.copy() : Configuration{}; }

  private:
    SimulatedNetworkExtension& system;
    std::shared_ptr<Saved> saved;
    Configuration working;
};

SimulatedNetworkExtension::SimulatedNetworkExtension(Dispatch& dispatch,
                                                     NotificationCenter& notificationCenter)
    : dispatch(dispatch), notificationCenter(notificationCenter) {}

// The application's requests

void SimulatedNetworkExtension::loadAllFromPreferences(Completion<Managers, Error> completion) {
    const auto managers = std::make_shared<Managers>();
    perform(
        Operation::loadAll,
        [this, managers] {
            for (const auto& one : saved) {
                auto manager = std::make_shared<Manager>(*this, one);
                manager->read();
                managers->push_back(std::move(manager));
            }
        },
        [managers, completion = std::move(completion)](std::optional<Error> error) {
            if (error)
                completion(tl::unexpected(*std::move(error)));
            else
                completion(*managers);
        });
}

std::shared_ptr<NETunnelProviderManager> SimulatedNetworkExtension::makeTunnelProviderManager() {
    return std::make_shared<Manager>(*this, makeSaved());
}

void SimulatedNetworkExtension::perform(Operation operation, std::function<void()> effect,
                                        PreferencesCompletion completion) {
    static constexpr const char* names[] = {"loadAll", "load", "save", "remove"};
    note(names[static_cast<int>(operation)]);
    auto work = lifetime.weakly([this, operation, effect = std::move(effect),
                                 completion = std::move(completion)] {
        const auto failure = errors.find(operation);
        const auto error = failure == errors.end() ? std::nullopt : std::optional(failure->second);
        if (!error)
            effect();
        answer([this, completion, error] {
            completion(error);
            if (answersTwice)
                completion(error);
        });
    });
    if (answers == Answers::beforeReturning)
        work();
    else if (answerDelay == Duration::zero())
        dispatch.main().async(std::move(work));
    else
        dispatch.main().asyncAfter(answerDelay, std::move(work));
}

void SimulatedNetworkExtension::note(const char* request) {
    requests.emplace_back(request);
    if (onRequest)
        onRequest(requests.back());
}

void SimulatedNetworkExtension::answer(std::function<void()> completion) {
    if (answers == Answers::onAnotherThread)
        dispatch.global(QualityOfService::standard).async(std::move(completion));
    else
        completion();
}

// Saved configurations

std::shared_ptr<SimulatedNetworkExtension::Saved> SimulatedNetworkExtension::makeSaved() {
    auto one = std::make_shared<Saved>();
    one->connection =
        std::make_shared<SimulatedNEVPNConnection>(SimulatedNEVPNConnection::Dependencies{
            dispatch, notificationCenter, tunnels, [this](const char* request) { note(request); },
            [this, weak = std::weak_ptr(one)] {
                const auto self = weak.lock();
                return self ? refusal(*self) : refusal(Saved{});
            }});
    return one;
}

void SimulatedNetworkExtension::addConfiguration(Configuration configuration) {
    auto one = makeSaved();
    one->configuration = configuration.copy();
    one->isSaved = true;
    one->isAllowed = true;
    one->connection->setStatusSilently(NEVPNStatus::disconnected);
    saved.push_back(std::move(one));
}

std::vector<SimulatedNetworkExtension::Configuration>
SimulatedNetworkExtension::configurations() const {
    std::vector<Configuration> copies;
    for (const auto& one : saved)
        copies.push_back(one->configuration.copy());
    return copies;
}

void SimulatedNetworkExtension::removeConfiguration(std::size_t place) {
    // Copied, because `remove` takes it off the list.
    const auto one = saved.at(place);
    remove(one);
}

void SimulatedNetworkExtension::changeConfiguration(std::size_t place,
                                                    const Configuration& configuration) {
    save(saved.at(place), configuration.copy());
}

void SimulatedNetworkExtension::save(const std::shared_ptr<Saved>& one,
                                     const Configuration& configuration) {
    if (one->isSaved && isSame(one->configuration, configuration))
        return;
    one->configuration = configuration.copy();
    if (!one->isSaved) {
        one->isSaved = true;
        one->isAllowed = !refusalUntilAllowed;
        one->connection->setStatusSilently(NEVPNStatus::disconnected);
        saved.push_back(one);
    }
    tellConfigurationChange();
}

void SimulatedNetworkExtension::remove(const std::shared_ptr<Saved>& one) {
    const auto place = std::find(saved.begin(), saved.end(), one);
    if (place == saved.end())
        return;
    one->isSaved = false;
    one->connection->setStatusSilently(NEVPNStatus::invalid);
    saved.erase(place);
    tellConfigurationChange();
}

void SimulatedNetworkExtension::tellConfigurationChange() {
    dispatch.main().async(
        lifetime.weakly([this] { notificationCenter.post(NEVPNConfigurationChange); }));
}

// The user's approval

void SimulatedNetworkExtension::requireApproval(Error refusal) {
    refusalUntilAllowed = std::move(refusal);
}

void SimulatedNetworkExtension::allow() {
    for (const auto& one : saved)
        one->isAllowed = true;
    tellConfigurationChange();
}

void SimulatedNetworkExtension::decline() {
    tellConfigurationChange();
}

std::optional<Error> SimulatedNetworkExtension::refusal(const Saved& one) const {
    if (!one.isSaved)
        return vpnError(NEVPNError::configurationInvalid, "The configuration is invalid.");
    if (!one.isAllowed)
        return refusalUntilAllowed;
    if (!one.configuration.isEnabled)
        return vpnError(NEVPNError::configurationDisabled, "The configuration is disabled.");
    return std::nullopt;
}

} // namespace quoxelin
