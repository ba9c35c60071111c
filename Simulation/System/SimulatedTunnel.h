#pragma once

#include "Base/Dispatch.h"
#include "Base/Lifetime.h"
#include "Base/NotificationCenter.h"
#include "Platform/NetworkExtension.h"

#include <optional>

namespace quoxelin {

/// How the tunnels of a simulated system behave. May be changed at any time.
struct SimulatedTunnels {
    /// The time from a start until the tunnel is up, and from a stop until it is down.
    Duration connectDuration = seconds(1);
    Duration disconnectDuration = seconds(0.5);

    /// If false, each attempt ends in a disconnection after the same time.
    bool comeUp = true;

    /// If set, every start is refused with this error.
    std::optional<Error> startError;

    /// Why tunnels end that were not stopped.
    std::optional<Error> disconnectError;

    /// The number of starts while the tunnel was up or coming up, which are mistakes.
    int needlessStarts = 0;
};

/// The tunnel of one configuration; reloading the configuration keeps it. Every change of the
/// status posts `NEVPNStatusDidChange` on a later turn of the main queue. Main thread only.
class SimulatedTunnel {
  public:
    SimulatedTunnel(Dispatch& dispatch, NotificationCenter& notificationCenter,
                    const SimulatedTunnels& behavior)
        : dispatch(dispatch), notificationCenter(notificationCenter), behavior(behavior) {}

    int status() const { return rawStatus; }

    bool isUpOrComingUp() const {
        return is(NEVPNStatus::connecting) || is(NEVPNStatus::connected);
    }

    void start() {
        become(NEVPNStatus::connecting);
        becomeLater(behavior.connectDuration, [this] {
            if (behavior.comeUp)
                become(NEVPNStatus::connected);
            else
                goDown();
        });
    }

    void stop() {
        if (!is(NEVPNStatus::invalid) && !is(NEVPNStatus::disconnected) &&
            !is(NEVPNStatus::disconnecting))
            goDown();
    }

    /// The tunnel is lost.
    void drop() { become(NEVPNStatus::disconnected); }

    /// The tunnel is interrupted for that time.
    void reassert(Duration duration) {
        become(NEVPNStatus::reasserting);
        becomeLater(duration, [this] { become(NEVPNStatus::connected); });
    }

    /// The system reports this status, even an unknown one.
    void report(int status) {
        takeSilently(status);
        dispatch.main().async(
            lifetime.weakly([this] { notificationCenter.post(NEVPNStatusDidChange); }));
    }

    /// Changes the status without a notification, because saving and removing a configuration post
    /// another one.
    void setStatusSilently(NEVPNStatus status) { takeSilently(static_cast<int>(status)); }

  private:
    bool is(NEVPNStatus status) const { return rawStatus == static_cast<int>(status); }
    void become(NEVPNStatus status) { report(static_cast<int>(status)); }

    void takeSilently(int status) {
        if (transition)
            transition->cancel();
        rawStatus = status;
    }

    void becomeLater(Duration delay, Work change) {
        transition = dispatch.main().asyncAfter(delay, lifetime.weakly(std::move(change)));
    }

    void goDown() {
        become(NEVPNStatus::disconnecting);
        becomeLater(behavior.disconnectDuration, [this] { become(NEVPNStatus::disconnected); });
    }

    Dispatch& dispatch;
    NotificationCenter& notificationCenter;
    const SimulatedTunnels& behavior;
    int rawStatus = static_cast<int>(NEVPNStatus::invalid);
    std::optional<WorkItem> transition;
    Lifetime lifetime;
};

} // namespace quoxelin
