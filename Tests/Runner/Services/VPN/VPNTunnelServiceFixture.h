#pragma once

#include "Runner/Services/VPN/VPNTunnelService.h"
#include "Runner/Shared/AppLogger.h"
#include "Simulation/System/SimulatedSystem.h"
#include "Tests/Support/Trace.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

inline constexpr const char* ourProvider = "com.quoxelin.desktop.PacketTunnel";
inline constexpr const char* foreignProvider = "com.example.other.PacketTunnel";
inline const Error permissionDenied{"NEVPNErrorDomain", 5, "permission denied"};
inline const Error ioError{"NEVPNErrorDomain", 5, "read/write failed"};

inline const char* nameOf(VPNConnectionStatus status) {
    switch (status) {
    case VPNConnectionStatus::disconnected:
        return "disconnected";
    case VPNConnectionStatus::connected:
        return "connected";
    case VPNConnectionStatus::connecting:
        return "connecting";
    case VPNConnectionStatus::disconnecting:
        return "disconnecting";
    case VPNConnectionStatus::error:
        return "error";
    case VPNConnectionStatus::unknown:
        return "unknown";
    }
    return "none";
}

/// A tunnel service on a simulated system. The trace has its log lines and every published value of
/// `connectionStatus` ("= connecting").
struct TunnelUnderTest {
    using Lines = std::vector<std::string>;

    VirtualDispatch dispatch;
    NotificationCenter notificationCenter;
    Trace trace{dispatch};
    SimulatedSystem system{dispatch, notificationCenter};
    SimulatedNetworkExtension& network = system.networkExtension;
    AppLogger logger{{dispatch, system.fileManager, trace}};
    std::unique_ptr<VPNTunnelService> service;
    Subscription statusSubscription;
    bool isListening = false;

    ~TunnelUnderTest() { dispatch.endAllWork(); }

    /// Creates the service before anything can answer.
    void create() {
        service = std::make_unique<VPNTunnelService>(VPNTunnelService::Dependencies{
            dispatch, logger, network, notificationCenter, system.mainBundle, system.processInfo});
        isListening = false; // the initial value is not an assignment
        statusSubscription = service->connectionStatus.subscribe([this](auto now) {
            if (isListening)
                trace.note(std::string("= ") + nameOf(now));
        });
        isListening = true;
    }

    /// Creates the service and clears the resulting trace.
    void createAndSettle() {
        create();
        dispatch.runUntilIdle();
        forget();
    }

    void destroy() {
        statusSubscription.cancel();
        service.reset();
    }

    void forget() {
        trace.take();
        network.requests.clear();
    }

    /// A completion that adds a line to the trace.
    std::function<void()> noting(const std::string& text) {
        return [this, text] {
            EXPECT_TRUE(dispatch.isMainThread());
            trace.note(text);
        };
    }

    /// Makes a call on a background thread.
    void fromAnotherThread(std::function<void()> call) {
        dispatch.global(QualityOfService::standard).async(std::move(call));
        dispatch.runUntilIdle();
    }

    void saveOurs() { network.addConfiguration(network.ofTunnel(ourProvider, "Quoxelin")); }

    Lines settleAndTake() {
        dispatch.runUntilIdle();
        return trace.take();
    }
};

class VPNTunnelServiceTest : public ::testing::Test, public TunnelUnderTest {
  public:
    using Lines = TunnelUnderTest::Lines;
};

} // namespace quoxelin::testing
