#pragma once

#include "Base/Lifetime.h"

#include <NetworkManager.h>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quoxelin {

/// The library's picture of NetworkManager, which follows it while it runs, stops and starts again,
/// and word of what changes about VPNs. Main thread only, with GLib's main context served there.
class NetworkManagerClient {
  public:
    /// What has changed since the last call.
    struct Changes {
        bool configurations = false;
        /// Something about tunnels, or none of them can be known any longer.
        bool tunnels = false;
        /// NetworkManager has come or gone.
        bool presence = false;
    };

    /// `changed` is called from the event loop, once for all that came in one turn of it.
    explicit NetworkManagerClient(std::function<void(const Changes&)> changed);
    ~NetworkManagerClient();
    NetworkManagerClient(const NetworkManagerClient&) = delete;
    NetworkManagerClient& operator=(const NetworkManagerClient&) = delete;

    /// The system bus is there, in D-Bus's notation of addresses; or it is gone.
    void connect(const std::string& busAddress);
    void disconnect();

    /// Calls back as soon as the picture is complete, or is known not to come about; perhaps at
    /// once. A NetworkManager that starts is waited for.
    void whenReady(std::function<void()> ready);

    /// Null while NetworkManager does not run, as far as is known.
    NMClient* running() const;

    /// Why `running` has nothing to show, for people.
    const std::string& problem() const { return reason; }

    /// Has it told as a change of tunnels what this program itself knows of them.
    void tunnelsChanged();

    /// Returns when everything asked for is on its way. Never waits for NetworkManager.
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
    static void presenceChanged(GObject* anchor);
    static void busClosed(GObject* anchor);

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
    /// Whether NetworkManager ran when that was last told; absent while nobody has asked.
    std::optional<bool> wasPresent;
    Changes untold;
    /// Of the event loop's source that tells, 0 while there is nothing to tell.
    unsigned source = 0;
};

} // namespace quoxelin
