#pragma once

#include "Base/Dispatch.h"
#include "Base/Lifetime.h"
#include "Base/NotificationCenter.h"
#include "Platform/NetworkExtension.h"
#include "Simulation/System/SimulatedNEVPNConnection.h"

#include <map>

namespace quoxelin {

/// The VPN preferences of a system in memory, their tunnels, and the user who allows them. Main
/// thread only; it outlives the managers and connections that it hands out.
///
/// Fresh, it holds no configuration, every new one is allowed, and answers come on the next turn of
/// the main queue. The public fields may be changed any time and count from then on.
class SimulatedNetworkExtension final : public NetworkExtension {
  public:
    /// One configuration; the provider's identifier says whose it is.
    struct Configuration {
        std::optional<std::string> localizedDescription;
        bool isEnabled = false;
        /// Null: none. Of the base class: of another kind than a tunnel.
        std::shared_ptr<NEVPNProtocol> protocol;

        /// That of an application's tunnel, as the application would save it.
        static Configuration ofTunnel(const std::string& providerBundleIdentifier,
                                      const std::string& localizedDescription);

        /// The copy has a separate protocol object.
        Configuration copy() const;

        /// Null unless it is a tunnel's.
        NETunnelProviderProtocol* tunnel() const {
            return dynamic_cast<NETunnelProviderProtocol*>(protocol.get());
        }
    };

    /// What an application can ask of the preferences.
    enum class Operation { loadAll, load, save, remove };

    /// Whether a manager hands out its protocol object itself or a copy of it.
    enum class ProtocolAccess { byReference, byCopy };

    /// Where completions are called.
    enum class Answers {
        /// On the caller's thread, before the call returns; the delay does not count.
        beforeReturning,
        onMainThread,
        onAnotherThread,
    };

    SimulatedNetworkExtension(Dispatch& dispatch, NotificationCenter& notificationCenter);

    void loadAllFromPreferences(Completion<Managers, Error> completion) override;
    std::shared_ptr<NETunnelProviderManager> makeTunnelProviderManager() override;

    // How the system behaves

    ProtocolAccess protocolAccess = ProtocolAccess::byReference;
    Answers answers = Answers::onMainThread;
    /// A faulty one, which answers everything a second time.
    bool answersTwice = false;
    /// How long an operation takes; it has its effect, or fails, at the end.
    Duration answerDelay{0};
    /// Operations that fail when their answer is due.
    std::map<Operation, Error> errors;
    /// False: managers have no connection.
    bool hasConnections = true;
    SimulatedTunnels tunnels;

    // What is saved

    /// Adds a configuration that was saved and allowed earlier. Posts no notification.
    void addConfiguration(Configuration configuration);

    /// Copies, in the order in which applications get them.
    std::vector<Configuration> configurations() const;

    /// The tunnel of the configuration at the index.
    SimulatedNEVPNConnection& tunnel(std::size_t place = 0) { return *saved.at(place)->connection; }

    /// A user removes (changes) a configuration in the system's settings. Posts a notification.
    void removeConfiguration(std::size_t place);
    void changeConfiguration(std::size_t place, const Configuration& configuration);

    /// Posts the notification of a change on the next turn of the main queue.
    void tellConfigurationChange();

    // What a user allows

    /// From now on a new configuration is saved, but its starts are refused with `refusal` until a
    /// user allows it.
    void requireApproval(Error refusal = {NEVPNErrorDomain, 1, "The configuration is invalid."});

    /// A user allows or declines all waiting configurations. Both post a notification. A declined
    /// configuration keeps waiting.
    void allow();
    void decline();

    // What was asked

    /// "loadAll", "load", "save", "remove", "start" and "stop", in the order of the calls.
    std::vector<std::string> requests;

    /// Called with each of them when it has been added.
    std::function<void(const std::string&)> onRequest;

  private:
    class Manager;

    /// What the system keeps of one configuration.
    struct Saved {
        Configuration configuration;
        bool isSaved = false;
        bool isAllowed = false;
        std::shared_ptr<SimulatedNEVPNConnection> connection;
    };

    /// Brings `effect` about and answers, both when and where the system does.
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
