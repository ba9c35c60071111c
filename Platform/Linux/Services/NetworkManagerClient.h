#pragma once

#include "Base/Lifetime.h"
#include "Platform/Linux/Services/Bus.h"
#include "Platform/Linux/Services/VPNProfile.h"

#include <map>
#include <optional>
#include <set>

namespace quoxelin {

/// Follows NetworkManager's VPNs and reports changes, even if NetworkManager stops and starts
/// again. Main thread only.
class NetworkManagerClient {
  public:
    /// Changes since the last call.
    struct Changes {
        bool configurations = false;
        /// Tunnels have changed, or can no longer be seen.
        bool tunnels = false;
        /// NetworkManager has appeared or disappeared.
        bool presence = false;
        /// NetworkManager's reasons for the end of tunnels that were not stopped, by the
        /// connection's UUID.
        std::map<std::string, std::string> reasons;
    };

    /// An active connection, in any state.
    struct Tunnel {
        enum class State : std::uint32_t {
            unknown,
            activating,
            activated,
            deactivating,
            deactivated
        };

        /// Its D-Bus object.
        std::string path;
        std::string uuid;
        State state = State::unknown;
        /// False for other kinds of connections, which NetworkManager lists as well.
        bool isVPN = false;
    };

    /// Called with the error, or with nothing on success.
    using Done = std::function<void(const std::optional<BusError>&)>;
    using Activated = std::function<void(const Result<std::string, BusError>& path)>;

    /// `changed` is called from the event loop, once for all changes of one turn.
    NetworkManagerClient(Bus& systemBus, std::function<void(const Changes&)> changed);
    NetworkManagerClient(const NetworkManagerClient&) = delete;
    NetworkManagerClient& operator=(const NetworkManagerClient&) = delete;

    /// Calls back when everything has been read, or cannot be; perhaps before it returns. Waits for
    /// a NetworkManager that is starting.
    void whenReady(std::function<void()> ready);

    /// Whether everything has been read.
    bool isRunning() const { return objects && objects->isComplete; }

    /// A readable reason why it is not running.
    const std::string& problem() const { return reason; }

    /// Reports a tunnel change that originates in this program.
    void tunnelsChanged();

    // Empty while NetworkManager is not running.

    /// The UUIDs of the VPN connections that this user may see, the oldest first.
    std::vector<std::string> profiles() const;
    /// Null if there is none.
    const VPNProfile* find(const std::string& uuid) const;
    std::vector<Tunnel> tunnels() const;

    // Requests. Each is answered later, even if NetworkManager stops or this object is destroyed.
    // By then the functions above show the change. The UUID must be that of a profile.

    void add(const VPNProfile& profile, Done done);
    void update(const VPNProfile& profile, Done done);
    void remove(const std::string& uuid, Done done);
    void activate(const std::string& uuid, Activated activated);
    void deactivate(const std::string& path, Done done);

  private:
    /// Sorts objects by age: NetworkManager numbers them when it creates them.
    struct Earlier {
        bool operator()(const std::string& one, const std::string& other) const {
            return one.size() != other.size() ? one.size() < other.size() : one < other;
        }
    };
    template <typename Value>
    using ByObject = std::map<std::string, Value, Earlier>;

    /// What the running NetworkManager has reported.
    struct Objects {
        /// NetworkManager's unique name on the bus, because other programs can send signals, too.
        std::string owner;
        std::optional<bool> isStarting;
        bool isComplete = false;
        ByObject<VPNProfile> profiles;
        ByObject<Tunnel> tunnels;
        /// The connections that are still to be read, and those that are being read.
        std::set<std::string, Earlier> unread;
        ByObject<Subscription> readings;
        Subscription call;
    };

    void busChanged();
    void follow();
    void read();
    void forget(const std::string& why);
    void update();

    void ownerChanged(sd_bus_message* signal);
    void objectAdded(sd_bus_message* signal);
    void objectRemoved(sd_bus_message* signal);
    void propertiesChanged(sd_bus_message* signal);
    void tunnelEnded(sd_bus_message* signal);
    void profileUpdated(sd_bus_message* signal);

    void readObject(const std::string& path, sd_bus_message* message);
    bool readProperties(const std::string& path, const std::string& interface,
                        sd_bus_message* message);
    void readTunnel(const std::string& path, sd_bus_message* message);
    void readConnection(const std::string& path);
    void readMore();
    void settingsAnswered(const std::string& path, const Result<sd_bus_message*, BusError>& reply);
    void keepConnection(const std::string& path, VPNProfile profile);
    void forgetConnection(const std::string& path);
    void configurationsChanged();
    std::string pathOf(const std::string& uuid) const;
    /// The bus name to send requests to. A NetworkManager that was restarted reuses the object
    /// paths.
    std::string peer() const;
    void tell(const Changes& changes);

    Bus& bus;
    std::function<void(const Changes&)> changed;
    std::string reason;
    /// Null if NetworkManager is not known to run.
    std::unique_ptr<Objects> objects;
    std::vector<Subscription> matches;
    std::vector<std::function<void()>> waiting;
    /// Whether NetworkManager ran at the last report; absent before the first request.
    std::optional<bool> wasPresent;
    /// The next report, and whether the event loop is going to make it.
    Changes untold;
    bool isTelling = false;
    Subscription busObservation;
    Lifetime lifetime;
};

} // namespace quoxelin
