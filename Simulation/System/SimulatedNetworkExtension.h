#pragma once

#include "Base/Dispatch.h"
#include "Base/Lifetime.h"
#include "Base/NotificationCenter.h"
#include "Platform/NetworkExtension.h"
#include "Simulation/System/SimulatedNEVPNConnection.h"

#include <map>

namespace quoxelin {

/// VPN preferences in memory, their tunnels, and the user who allows them. Must outlive its
/// managers and connections. Main thread only.
///
/// Initially it is empty, allows every configuration and answers on the next turn of the main
/// queue. The public fields may be changed at any time.
class SimulatedNetworkExtension final : public NetworkExtension {
  public:
    /// One configuration. The provider's identifier determines its owner.
    struct Configuration {
        std::optional<std::string> localizedDescription;
        bool isEnabled = false;
        /// Null if there is none. Of the base class if it is not a tunnel.
        std::shared_ptr<NEVPNProtocol> protocol;

        /// A tunnel's configuration as an application would save it.
        static Configuration ofTunnel(const std::string& providerBundleIdentifier,
                                      const std::string& localizedDescription);

        /// The copy has a separate protocol object.
        Configuration copy() const;

        /// Null if it is not a tunnel.
        NETunnelProviderProtocol* tunnel() const {
            return dynamic_cast<NETunnelProviderProtocol*>(protocol.get());
        }
    };

    /// The application's requests.
    enum class Operation { loadAll, load, save, remove };

    /// Whether a manager returns its protocol object or a copy.
    enum class ProtocolAccess { byReference, byCopy };

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

    // Settings

    ProtocolAccess protocolAccess = ProtocolAccess::byReference;
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
    void addConfiguration(Configuration configuration);

    /// Copies of the configurations, in the system's order.
    std::vector<Configuration> configurations() const;

    /// The tunnel of the configuration at the index.
    SimulatedNEVPNConnection& tunnel(std::size_t place = 0) { return *saved.at(place)->connection; }

    /// The user removes or changes a configuration in the settings. Posts a notification.
    void removeConfiguration(std::size_t place);
    void changeConfiguration(std::size_t place, const Configuration& configuration);

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
        Configuration configuration;
        bool isSaved = false;
        bool isAllowed = false;
        std::shared_ptr<SimulatedNEVPNConnection> connection;
    };

    /// Performs `effect` and answers according to the settings.
    void perform(Operation operation, std::function<void()> effect,
                 PreferencesCompletion completion);
    void save(const std::shared_ptr<Saved>& one, const Configuration& configuration);
    void remove(const std::shared_ptr<Saved>& one);
    std::shared_ptr<Saved> makeSaved();
    void note(const char* request);
    std::optional<Error> refusal(const Saved& one) const;
    void answer(std::function<void()> completion);

    Dispatch& dispatch;
    NotificationCenter& notificationCenter;
    std::vector<std::shared_ptr<Saved>> saved;
    std::optional<Error> refusalUntilAllowed;
    Lifetime lifetime;
};

} // namespace quoxelin
