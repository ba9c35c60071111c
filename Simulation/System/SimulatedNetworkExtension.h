#pragma once

#include "Base/Dispatch.h"
#include "Base/Lifetime.h"
#include "Base/NotificationCenter.h"
#include "Platform/NetworkExtension.h"
#include "Simulation/System/SimulatedTunnel.h"

#include <map>

namespace quoxelin {

/// VPN preferences in memory, their tunnels, and the user who allows them. Must outlive its
/// managers and connections. Main thread only.
///
/// Initially it is empty, allows every configuration and answers on the next turn of the main
/// queue. The public fields may be changed at any time.
class SimulatedNetworkExtension final : public NetworkExtension {
  public:
    /// A tunnel's configuration as an application would save it.
    static VPNConfiguration ofTunnel(const std::string& providerBundleIdentifier,
                                     const std::string& localizedDescription) {
        return {localizedDescription, true, {{providerBundleIdentifier, "localhost"}}};
    }

    /// The application's requests.
    enum class Operation { loadAll, load, save, remove };

    /// Where completions are called.
    enum class Answers {
        /// On the caller's thread, before the call returns and without the delay.
        beforeReturning,
        onMainThread,
        onAnotherThread,
    };

    SimulatedNetworkExtension(Dispatch& dispatch, NotificationCenter& notificationCenter);

    void loadAllFromPreferences(Completion<Managers, Error> completion) override;
    std::shared_ptr<NETunnelProviderManager> makeTunnelProviderManager() override;
    bool sharesProtocolObjects() const override { return sharesProtocols; }

    // Settings

    /// The answer of `sharesProtocolObjects`.
    bool sharesProtocols = true;
    Answers answers = Answers::onMainThread;
    /// Simulates a faulty platform that answers everything twice.
    bool answersTwice = false;
    /// How long an operation takes. It takes effect or fails at the end.
    Duration answerDelay{0};
    /// The errors of operations that fail.
    std::map<Operation, Error> errors;
    /// If false, managers have no connection.
    bool hasConnections = true;
    SimulatedTunnels tunnels;

    // Saved configurations

    /// Adds a configuration that was saved and allowed earlier. Posts no notification.
    void addConfiguration(const VPNConfiguration& configuration);

    /// The configurations, in the system's order.
    std::vector<VPNConfiguration> configurations() const;

    /// The tunnel of the configuration at the index.
    SimulatedTunnel& tunnel(std::size_t place = 0) { return saved.at(place)->tunnel; }

    /// The user removes or changes a configuration in the settings. Posts a notification.
    void removeConfiguration(std::size_t place);
    void changeConfiguration(std::size_t place, const VPNConfiguration& configuration);

    /// Posts `NEVPNConfigurationChange` on the next turn of the main queue.
    void tellConfigurationChange();

    // The user's approval

    /// From now on new configurations are saved, but their starts fail with `refusal` until the
    /// user allows them.
    void requireApproval(Error refusal = {NEVPNErrorDomain, 1, "The configuration is invalid."});

    /// The user allows or declines all waiting configurations. Both post a notification. A declined
    /// configuration keeps waiting.
    void allow();
    void decline();

    // Recorded requests

    /// "loadAll", "load", "save", "remove", "start" or "stop", in the order of the calls.
    std::vector<std::string> requests;

    /// Called after each request was recorded.
    std::function<void(const std::string&)> onRequest;

  private:
    class Manager;

    /// The system's record of one configuration.
    struct Saved {
        explicit Saved(SimulatedNetworkExtension& system)
            : tunnel(system.dispatch, system.notificationCenter, system.tunnels) {}

        SimulatedTunnel tunnel;
        VPNConfiguration configuration;
        bool isSaved = false;
        bool isAllowed = false;
    };

    /// Performs `effect` and answers according to the settings.
    void perform(Operation operation, std::function<void()> effect,
                 PreferencesCompletion completion);
    void save(const std::shared_ptr<Saved>& one, const VPNConfiguration& configuration);
    void remove(const std::shared_ptr<Saved>& one);
    void note(const char* request);
    Result<void, Error> start(Saved& one);
    std::optional<Error> refusal(const Saved& one) const;
    void answer(std::function<void()> completion);

    Dispatch& dispatch;
    NotificationCenter& notificationCenter;
    std::vector<std::shared_ptr<Saved>> saved;
    std::optional<Error> refusalUntilAllowed;
    Lifetime lifetime;
};

} // namespace quoxelin
