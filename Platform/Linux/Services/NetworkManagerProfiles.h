#pragma once

#include "Base/Dispatch.h"
#include "Platform/Linux/Services/NetworkManagerClient.h"
#include "Platform/Linux/Services/VPNProfile.h"

#include <map>
#include <set>

namespace quoxelin {

/// NetworkManager's VPN connections, by UUID, and their tunnels. Requests are always answered, even
/// if this object or NetworkManager is gone by then. Main thread only.
class NetworkManagerProfiles final : public std::enable_shared_from_this<NetworkManagerProfiles> {
  public:
    using Added = Completion<std::string, Error>;

    /// Both functions are called from the event loop.
    static std::shared_ptr<NetworkManagerProfiles> make(std::function<void()> statusChanged,
                                                        std::function<void()> configurationChanged);

    NetworkManagerClient& client() { return networkManager; }

    /// The connections that this user may see, in NetworkManager's order. An error if
    /// NetworkManager is not running.
    void all(Completion<std::vector<std::string>, Error> completion);

    /// An error if the connection does not exist.
    Result<VPNProfile, Error> read(const std::string& uuid) const;

    /// Adds a connection that belongs to this user and is only started on demand.
    void add(const VPNProfile& profile, Added completion);
    void update(const std::string& uuid, const VPNProfile& profile,
                PreferencesCompletion completion);
    void remove(const std::string& uuid, PreferencesCompletion completion);

    /// A raw `NEVPNStatus`.
    int status(const std::string& uuid) const;

    /// Like `NEVPNConnection`.
    Result<void, Error> start(const std::string& uuid);
    void stop(const std::string& uuid);

    /// Waits for NetworkManager to answer the stop requests, at most `longest` in total, without
    /// serving the event loop. NetworkManager drops requests whose sender has exited. Stops that
    /// are deferred until a connection is up are not included.
    void waitForStops(Duration longest) const;

  private:
    /// A start that NetworkManager has not answered yet.
    struct Start {
        unsigned number = 0;
        /// Stop it as soon as there is something to stop.
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
    /// D-Bus paths of the connections that NetworkManager was asked to stop, until it answers.
    std::multiset<std::string> stops;
    /// The last reported statuses other than disconnected.
    std::map<std::string, NEVPNStatus> told;
};

} // namespace quoxelin
