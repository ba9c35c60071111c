#pragma once

#include "Base/Dispatch.h"
#include "Platform/Linux/Services/NetworkManagerClient.h"
#include "Platform/Linux/Services/VPNProfile.h"

#include <map>
#include <set>

namespace quoxelin {

/// NetworkManager's VPN connections, by their UUIDs, and the tunnels behind them. What was asked
/// for is answered also when this object, or NetworkManager, is gone by then. Main thread only.
class NetworkManagerProfiles final : public std::enable_shared_from_this<NetworkManagerProfiles> {
  public:
    using Added = Completion<std::string, Error>;

    /// Both are called from the event loop.
    static std::shared_ptr<NetworkManagerProfiles> make(std::function<void()> statusChanged,
                                                        std::function<void()> configurationChanged);

    NetworkManagerClient& client() { return networkManager; }

    /// The connections that this user may see, in NetworkManager's order; an error when it does not
    /// run.
    void all(Completion<std::vector<std::string>, Error> completion);

    /// An error when it is not there.
    Result<VPNProfile, Error> read(const std::string& uuid) const;

    /// Adds a connection of this user's own, which is only started on demand.
    void add(const VPNProfile& profile, Added completion);
    void update(const std::string& uuid, const VPNProfile& profile,
                PreferencesCompletion completion);
    void remove(const std::string& uuid, PreferencesCompletion completion);

    /// A raw `NEVPNStatus`.
    int status(const std::string& uuid) const;

    /// As `NEVPNConnection` does it.
    Result<void, Error> start(const std::string& uuid);
    void stop(const std::string& uuid);

    /// Waits, without serving the event loop, for NetworkManager to answer the stops asked for, so
    /// long at most for all. It refuses what a process asks that is gone when it comes to look.
    /// Without what is to be stopped once it has come up.
    void waitForStops(Duration longest) const;

  private:
    /// A start that NetworkManager has not answered yet.
    struct Start {
        unsigned number = 0;
        /// It is to be stopped as soon as there is something to stop.
        bool stopIsWanted = false;
    };

    NetworkManagerProfiles(std::function<void()> statusChanged,
                           std::function<void()> configurationChanged);

    void addNow(const VPNProfile& profile, Added completion);
    void changed(const NetworkManagerClient::Changes& changes);
    void startAnswered(const std::string& uuid, unsigned number, NMActiveConnection* active);
    void endStart(const std::string& uuid, unsigned number);
    void deactivate(NMClient* client, NMActiveConnection* active, std::function<void()> done);
    NMRemoteConnection* find(const std::string& uuid) const;
    Result<NMRemoteConnection*, Error> saved(const std::string& uuid) const;
    Error notRunning(NEVPNError code) const;
    NEVPNStatus tunnelStatus(const std::string& uuid) const;
    std::map<std::string, NEVPNStatus> tunnels() const;

    NetworkManagerClient networkManager;
    std::function<void()> statusChanged;
    std::function<void()> configurationChanged;
    std::map<std::string, Start> starts;
    unsigned startCount = 0;
    /// The objects on the bus whose end NetworkManager was asked for and has not answered.
    std::multiset<std::string> stops;
    /// All that is not disconnected, as it was told last.
    std::map<std::string, NEVPNStatus> told;
};

} // namespace quoxelin
