#include "Simulation/System/SimulatedNetworkExtension.h"

#include <algorithm>

namespace quoxelin {

namespace {

Error vpnError(NEVPNError code, const std::string& description) {
    return {NEVPNErrorDomain, static_cast<int>(code), description};
}

} // namespace

/// The application's object: the content it loaded, and a reference to the saved configuration.
class SimulatedNetworkExtension::Manager final : public NETunnelProviderManager,
                                                 public std::enable_shared_from_this<Manager> {
  public:
    Manager(SimulatedNetworkExtension& system, std::shared_ptr<Saved> saved)
        : system(system), saved(std::move(saved)), loaded(this->saved->configuration) {}

    VPNConfiguration configuration() const override { return loaded; }

    void loadFromPreferences(PreferencesCompletion completion) override {
        system.perform(
            Operation::load,
            [self = shared_from_this()] {
                const auto& saved = *self->saved;
                self->loaded = saved.isSaved ? saved.configuration : VPNConfiguration();
            },
            std::move(completion));
    }
    void saveToPreferences(const VPNConfiguration& configuration,
                           PreferencesCompletion completion) override {
        system.perform(
            Operation::save,
            [self = shared_from_this(), configuration] {
                self->loaded = configuration;
                self->system.save(self->saved, configuration);
            },
            std::move(completion));
    }
    void removeFromPreferences(PreferencesCompletion completion) override {
        system.perform(
            Operation::remove, [self = shared_from_this()] { self->system.remove(self->saved); },
            std::move(completion));
    }

    std::optional<int> status() const override {
        return system.hasConnections ? std::optional(saved->tunnel.status()) : std::nullopt;
    }
    Result<void, Error> startVPNTunnel() override { return system.start(*saved); }
    void stopVPNTunnel() override {
        if (!system.hasConnections)
            return;
        system.note("stop");
        saved->tunnel.stop();
    }
    void fetchLastDisconnectError(PreferencesCompletion completion) override {
        completion(system.tunnels.disconnectError);
    }

  private:
    SimulatedNetworkExtension& system;
    std::shared_ptr<Saved> saved;
    VPNConfiguration loaded;
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
            for (const auto& one : saved)
                managers->push_back(std::make_shared<Manager>(*this, one));
        },
        [managers, completion = std::move(completion)](std::optional<Error> error) {
            if (error)
                completion(tl::unexpected(*std::move(error)));
            else
                completion(*managers);
        });
}

std::shared_ptr<NETunnelProviderManager> SimulatedNetworkExtension::makeTunnelProviderManager() {
    return std::make_shared<Manager>(*this, std::make_shared<Saved>(*this));
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

void SimulatedNetworkExtension::addConfiguration(const VPNConfiguration& configuration) {
    auto one = std::make_shared<Saved>(*this);
    one->configuration = configuration;
    one->isSaved = true;
    one->isAllowed = true;
    one->tunnel.setStatusSilently(NEVPNStatus::disconnected);
    saved.push_back(std::move(one));
}

std::vector<VPNConfiguration> SimulatedNetworkExtension::configurations() const {
    std::vector<VPNConfiguration> copies;
    for (const auto& one : saved)
        copies.push_back(one->configuration);
    return copies;
}

void SimulatedNetworkExtension::removeConfiguration(std::size_t place) {
    // Copied, because `remove` takes it off the list.
    const auto one = saved.at(place);
    remove(one);
}

void SimulatedNetworkExtension::changeConfiguration(std::size_t place,
                                                    const VPNConfiguration& configuration) {
    save(saved.at(place), configuration);
}

void SimulatedNetworkExtension::save(const std::shared_ptr<Saved>& one,
                                     const VPNConfiguration& configuration) {
    if (one->isSaved && one->configuration == configuration)
        return;
    one->configuration = configuration;
    if (!one->isSaved) {
        one->isSaved = true;
        one->isAllowed = !refusalUntilAllowed;
        one->tunnel.setStatusSilently(NEVPNStatus::disconnected);
        saved.push_back(one);
    }
    tellConfigurationChange();
}

void SimulatedNetworkExtension::remove(const std::shared_ptr<Saved>& one) {
    const auto place = std::find(saved.begin(), saved.end(), one);
    if (place == saved.end())
        return;
    one->isSaved = false;
    one->tunnel.setStatusSilently(NEVPNStatus::invalid);
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

Result<void, Error> SimulatedNetworkExtension::start(Saved& one) {
    note("start");
    if (one.tunnel.isUpOrComingUp()) {
        ++tunnels.needlessStarts;
        return {};
    }
    if (auto error = tunnels.startError ? tunnels.startError : refusal(one))
        return tl::unexpected(*std::move(error));
    one.tunnel.start();
    return {};
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
