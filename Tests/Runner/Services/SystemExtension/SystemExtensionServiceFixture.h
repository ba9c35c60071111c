#pragma once

#include "Runner/Services/SystemExtension/SystemExtensionService.h"
#include "Runner/Shared/AppLogger.h"
#include "Simulation/System/SimulatedSystem.h"
#include "Tests/Support/Trace.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

inline constexpr const char* ourExtension = "com.quoxelin.desktop.PacketTunnel";

/// A system extension service on a simulated system. The trace has its log lines, its callbacks
/// ("onFailed"), its notifications ("posted quoxelin.systemExtension.failed") and every assignment
/// to a published value ("isApproved = true").
struct ExtensionUnderTest {
    using Lines = std::vector<std::string>;

    VirtualDispatch dispatch;
    NotificationCenter notificationCenter;
    Trace trace{dispatch};
    SimulatedSystem system{dispatch, notificationCenter};
    SimulatedSystemExtensions& extensions = system.systemExtensions;
    AppLogger logger{{dispatch, system.fileManager, trace}};
    std::shared_ptr<SystemExtensionService> service;
    std::vector<Subscription> subscriptions;
    bool isListening = false;

    ExtensionUnderTest() {
        for (const char* name : {quoxelinSystemExtensionCompleted, quoxelinSystemExtensionFailed,
                                 quoxelinSystemExtensionNeedsApproval})
            subscriptions.push_back(
                notificationCenter.addObserver(name, [this](const Notification& notification) {
                    const auto* error = std::any_cast<Error>(&notification.object);
                    trace.note("posted " + notification.name +
                               (error != nullptr ? ": " + error->localizedDescription : ""));
                    EXPECT_EQ(error != nullptr, notification.object.has_value());
                }));
        create();
    }
    ~ExtensionUnderTest() { dispatch.endAllWork(); }

    void create() {
        service = std::make_shared<SystemExtensionService>(SystemExtensionService::Dependencies{
            dispatch, logger, extensions, notificationCenter, system.mainBundle, system.processInfo,
            system.workspace});
        for (auto [name, callback] :
             {std::pair("onCompleted", &service->onCompleted),
              std::pair("onWillCompleteAfterReboot", &service->onWillCompleteAfterReboot),
              std::pair("onNeedsUserApproval", &service->onNeedsUserApproval),
              std::pair("onFailed", &service->onFailed)})
            *callback = [this, name = name] { trace.note(name); };
        const auto noting = [this](const char* name) {
            return [this, name](bool now) {
                if (isListening)
                    trace.note(fmt::format("{} = {}", name, now));
            };
        };
        isListening = false; // the initial values are not assignments
        subscriptions.push_back(service->isApproved.subscribe(noting("isApproved")));
        subscriptions.push_back(service->needsUserApproval.subscribe(noting("needsUserApproval")));
        subscriptions.push_back(service->lastErrorDescription.subscribe([this](const auto& now) {
            if (isListening)
                trace.note("lastErrorDescription = " + now.value_or("none"));
        }));
        isListening = true;
    }

    void destroy() { service.reset(); }

    /// The system refuses the next activation with this error.
    void refuseWith(std::int64_t code, const std::string& description,
                    const std::string& domain = OSSystemExtensionErrorDomain) {
        extensions.activationError = Error{domain, code, description};
    }

    std::size_t activations() const {
        return extensions.submissions(OSSystemExtensionRequest::Kind::activation);
    }

    Lines settleAndTake() {
        dispatch.runUntilIdle();
        return trace.take();
    }

    void activateAndSettle() {
        service->activate();
        dispatch.runUntilIdle();
    }
};

class SystemExtensionServiceTest : public ::testing::Test, public ExtensionUnderTest {
  public:
    using Lines = ExtensionUnderTest::Lines;
};

} // namespace quoxelin::testing
