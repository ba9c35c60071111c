#pragma once

#include "Platform/Linux/Services/NetworkManagerClient.h"
#include "Platform/Linux/Services/TunnelEnd.h"
#include "Platform/Linux/Services/VPNProfile.h"

#include <map>
#include <set>

namespace quoxelin {

/// NetworkManager's VPN connections, by UUID, and their tunnels. Requests are always answered, even
/// if this object or NetworkManager is gone by then. Main thread only.
class NetworkManagerProfiles final : public std::enable_shared_from_this<NetworkManagerProfiles> {
  public:
    /// Both functions are called from the event loop.
    static std::shared_ptr<NetworkManagerProfiles> make(Bus& systemBus,
                                                        std::function<void()> statusChanged,
                                                        std::function<void()> configurationChanged);

    /// The connections that this user may see, the oldest first. An error if NetworkManager is not
    /// running.
    void all(Completion<std::vector<std::string>, Error> completion);

    /// The UUID of a connection that does not exist until it is saved. It belongs to this user then
    /// and is only started on demand.
    std::string makeNew();

    /// A new connection is empty. An error if the connection no longer exists.
    Result<VPNConfiguration, Error> read(const std::string& uuid) const;

    void save(const std::string& uuid, const VPNConfiguration& configuration,
              PreferencesCompletion completion);
    /// Removing a new connection succeeds.
    void remove(const std::string& uuid, PreferencesCompletion completion);

    /// A raw `NEVPNStatus`.
    int status(const std::string& uuid) const;

    /// Like those of `NETunnelProviderManager`.
    Result<void, Error> start(const std::string& uuid);
    void stop(const std::string& uuid);

    /// Why the last attempt failed or the tunnel ended, unless it was stopped.
    std::optional<Error> lastFailure(const std::string& uuid) const;

    /// The tunnels that were stopped and not started since. NetworkManager may not have heard of
    /// it.
    std::vector<EndingTunnel> stoppedTunnels() const;

  private:
    /// A connection that is not saved yet.
    struct New {
        bool isBeingAdded = false;
        /// Saves that wait until it is added.
        std::vector<std::function<void()>> waiting;
    };

    /// A start that NetworkManager has not answered yet.
    struct Start {
        unsigned number = 0;
        /// Stop it as soon as there is something to stop.
        bool stopIsWanted = false;
    };

    NetworkManagerProfiles(Bus& systemBus, std::function<void()> statusChanged,
                           std::function<void()> configurationChanged);

    void add(const std::string& uuid, const VPNConfiguration& configuration,
             PreferencesCompletion completion);
    void added(const std::string& uuid, const std::optional<Error>& error,
               const PreferencesCompletion& completion);
    void update(const std::string& uuid, const VPNConfiguration& configuration,
                PreferencesCompletion completion);
    void changed(const NetworkManagerClient::Changes& changes);
    void startAnswered(const std::string& uuid, unsigned number,
                       const std::optional<std::string>& path);
    void endStart(const std::string& uuid, unsigned number);
    Result<VPNProfile, Error> saved(const std::string& uuid) const;
    Error notRunning(NEVPNError code) const;
    NEVPNStatus tunnelStatus(const std::string& uuid) const;
    std::map<std::string, NEVPNStatus> tunnels() const;
    void startAgain();

    NetworkManagerClient networkManager;
    std::function<void()> statusChanged;
    std::function<void()> configurationChanged;
    std::map<std::string, New> unsaved;
    std::map<std::string, Start> starts;
    unsigned startCount = 0;
    /// Started and not stopped since.
    std::set<std::string> wanted;
    /// NetworkManager's reasons, in readable form.
    std::map<std::string, std::string> failures;
    /// Stopped and not started since.
    std::set<std::string> stopped;
    /// The last reported statuses other than disconnected.
    std::map<std::string, NEVPNStatus> told;
};

} // namespace quoxelin
