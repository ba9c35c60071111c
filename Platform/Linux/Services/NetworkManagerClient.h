#pragma once

#include "Base/Lifetime.h"

#include <NetworkManager.h>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quoxelin {

/// Follows NetworkManager and reports changes of VPNs, even if NetworkManager stops and starts
/// again. Main thread only; GLib's main context must be served there.
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

    /// `changed` is called from the event loop, once for all changes of one turn.
    explicit NetworkManagerClient(std::function<void(const Changes&)> changed);
    ~NetworkManagerClient();
    NetworkManagerClient(const NetworkManagerClient&) = delete;
    NetworkManagerClient& operator=(const NetworkManagerClient&) = delete;

    /// Call when the system bus appears, with its D-Bus address, or when it disappears.
    void connect(const std::string& busAddress);
    void disconnect();

    /// Calls back when everything has been read, or cannot be; perhaps before it returns. Waits for
    /// a NetworkManager that is starting.
    void whenReady(std::function<void()> ready);

    /// Null while NetworkManager is not known to run.
    NMClient* running() const;

    /// A readable reason why `running` is null.
    const std::string& problem() const { return reason; }

    /// Reports a tunnel change that originates in this program.
    void tunnelsChanged();

    /// Returns when all requests are sent. Never waits for NetworkManager.
    void flush() const;

  private:
    struct Link;

    static NetworkManagerClient& ownerOf(GObject* anchor);
    static void connectionAdded(GObject* anchor, NMRemoteConnection* connection);
    static void connectionRemoved(GObject* anchor, NMRemoteConnection* connection);
    static void connectionChanged(GObject* anchor, NMRemoteConnection* connection);
    static void activeConnectionAdded(GObject* anchor, NMActiveConnection* connection);
    static void activeConnectionRemoved(GObject* anchor, NMActiveConnection* connection);
    static void stateChanged(GObject* anchor);
    static void tunnelEnded(GObject* anchor, guint state, guint reason, NMActiveConnection* tunnel);
    static void presenceChanged(GObject* anchor);
    static void busClosed(GObject* anchor);

    void makeBus();
    void makeClient();
    void follow();
    void follow(void* object, const char* signal, void (*handler)());
    bool followVPN(NMRemoteConnection* connection);
    bool followVPN(NMActiveConnection* connection);
    void configurationsChanged();
    void failed(const std::string& text);
    bool hasStarted() const;
    void update();
    void tell(const Changes& changes);

    std::function<void(const Changes&)> changed;
    std::string address;
    std::string reason;
    std::unique_ptr<Link> link;
    std::vector<std::function<void()>> waiting;
    /// Whether NetworkManager ran at the last report; absent before the first request.
    std::optional<bool> wasPresent;
    Changes untold;
    /// The event loop's source for the next report, or 0.
    unsigned source = 0;
};

} // namespace quoxelin
