#include "Simulation/System/SimulatedNEVPNConnection.h"

namespace quoxelin {

Result<void, Error> SimulatedNEVPNConnection::startVPNTunnel() {
    dependencies.onRequest("start");
    if (isUpOrComingUp()) {
        ++dependencies.tunnels.needlessStarts;
        return {};
    }
    if (dependencies.tunnels.startError)
        return tl::unexpected(*dependencies.tunnels.startError);
    if (auto refusal = dependencies.refusal())
        return tl::unexpected(*std::move(refusal));
    become(static_cast<int>(NEVPNStatus::connecting));
    becomeLater(dependencies.tunnels.connectDuration, [this] {
        if (dependencies.tunnels.comeUp)
            become(static_cast<int>(NEVPNStatus::connected));
        else
            goDown();
    });
    return {};
}

void SimulatedNEVPNConnection::stopVPNTunnel() {
    dependencies.onRequest("stop");
    if (rawStatus != static_cast<int>(NEVPNStatus::invalid) &&
        rawStatus != static_cast<int>(NEVPNStatus::disconnected) &&
        rawStatus != static_cast<int>(NEVPNStatus::disconnecting))
        goDown();
}

void SimulatedNEVPNConnection::reassert(Duration duration) {
    become(static_cast<int>(NEVPNStatus::reasserting));
    becomeLater(duration, [this] { become(static_cast<int>(NEVPNStatus::connected)); });
}

void SimulatedNEVPNConnection::setStatusSilently(NEVPNStatus status) {
    if (transition)
        transition->cancel();
    rawStatus = static_cast<int>(status);
}

bool SimulatedNEVPNConnection::isUpOrComingUp() const {
    return rawStatus == static_cast<int>(NEVPNStatus::connecting) ||
           rawStatus == static_cast<int>(NEVPNStatus::connected);
}

void SimulatedNEVPNConnection::become(int status) {
    if (transition)
        transition->cancel();
    rawStatus = status;
    dependencies.dispatch.main().async(
        lifetime.weakly([this] { dependencies.notificationCenter.post(NEVPNStatusDidChange); }));
}

void SimulatedNEVPNConnection::becomeLater(Duration delay, std::function<void()> change) {
    transition = dependencies.dispatch.main().asyncAfter(delay, lifetime.weakly(std::move(change)));
}

void SimulatedNEVPNConnection::goDown() {
    become(static_cast<int>(NEVPNStatus::disconnecting));
    becomeLater(dependencies.tunnels.disconnectDuration,
                [this] { become(static_cast<int>(NEVPNStatus::disconnected)); });
}

} // namespace quoxelin
