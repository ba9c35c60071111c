#pragma once

#include "Base/Dispatch.h"
#include "Base/Lifetime.h"
#include "Base/NotificationCenter.h"
#include "Platform/NetworkExtension.h"

#include <functional>
#include <optional>

namespace quoxelin {

/// How the tunnels of a simulated system behave. Read when it matters, so it may be changed any
/// time.
struct SimulatedTunnels {
    /// From a start until the tunnel is up, and from a stop until it is down.
    Duration connectDuration = seconds(1);
    Duration disconnectDuration = seconds(0.5);

    /// False: an attempt begins, takes its time and goes down again.
    bool comeUp = true;

    /// Every start is refused with this error, whatever else is in order.
    std::optional<Error> startError;

    /// Starts asked for while the tunnel was up or coming up, which nobody should do.
    int needlessStarts = 0;
};

/// The tunnel of one configuration; it lives on when the configuration is loaded anew. Every change
/// of the status is told by `NEVPNStatusDidChange` on a turn of the main queue of its own. Main
/// thread only.
class SimulatedNEVPNConnection final : public NEVPNConnection {
  public:
    struct Dependencies {
        Dispatch& dispatch;
        NotificationCenter& notificationCenter;
        SimulatedTunnels& tunnels;
        /// Told of "start" and "stop".
        std::function<void(const char*)> onRequest;
        /// Why the tunnel cannot be started now; absent when it can.
        std::function<std::optional<Error>()> refusal;
    };

    explicit SimulatedNEVPNConnection(Dependencies dependencies)
        : dependencies(std::move(dependencies)) {}

    int status() const override { return rawStatus; }
    Result<void, Error> startVPNTunnel() override;
    void stopVPNTunnel() override;

    /// An established tunnel is lost.
    void drop() { become(static_cast<int>(NEVPNStatus::disconnected)); }

    /// An established tunnel looks for a new way, and is up again after that time.
    void reassert(Duration duration);

    /// The system reports this status, be it known or not.
    void report(int rawStatus) { become(rawStatus); }

    /// Takes the status without telling anybody: the configuration was saved or removed, which is
    /// told otherwise.
    void setStatusSilently(NEVPNStatus status);

  private:
    bool isUpOrComingUp() const;
    void become(int rawStatus);
    void becomeLater(Duration delay, std::function<void()> change);
    void goDown();

    Dependencies dependencies;
    int rawStatus = static_cast<int>(NEVPNStatus::invalid);
    std::optional<WorkItem> transition;
    Lifetime lifetime;
};

} // namespace quoxelin
