#pragma once

#include "Runner/Services/SystemExtension/SystemExtensionService.h"
#include "Runner/Shared/AppLogger.h"
#include "Simulation/System/SimulatedSystem.h"
#include "Tests/Support/Trace.h"

#include <gtest/gtest.h>

namespace quoxelin::testing {

inline constexpr const char* ourExtension = "com.quoxelin.desktop.PacketTunnel";

inline std::vector<std::string> operator+(std::vector<std::string> lines,
                                          const std::vector<std::string>& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

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

    /// Activates and returns what follows the first line, which is always the same.
    Lines activateAndTake() {
        activateAndSettle();
        auto lines = trace.take();
        EXPECT_EQ(lines.at(0), activating);
        lines.erase(lines.begin());
        return lines;
    }

    static constexpr const char* activating =
        "[SysExt] Activating extension com.quoxelin.desktop.PacketTunnel";

    static std::string requestFailed(int code, const std::string& description,
                                     const std::string& domain = OSSystemExtensionErrorDomain) {
        return fmt::format("[SysExt] Request failed: domain={} code={} {}", domain, code,
                           description);
    }

    static std::string probed(bool isInstalled) {
        return fmt::format(
            "[SysExt] Properties probe for com.quoxelin.desktop.PacketTunnel: installed={}",
            isInstalled);
    }

    static Lines published(bool isApproved, const std::string& error = "none") {
        return {fmt::format("isApproved = {}", isApproved), "needsUserApproval = false",
                "lastErrorDescription = " + error};
    }

    /// The lines in which the service reports each outcome.
    static Lines success() {
        return Lines{"posted quoxelin.systemExtension.completed", "onCompleted"} + published(true);
    }
    static Lines approvalNeeded(const std::string& error = "none") {
        return {"posted quoxelin.systemExtension.needsApproval", "onNeedsUserApproval",
                "needsUserApproval = true", "isApproved = false",
                "lastErrorDescription = " + error};
    }
    static Lines failure(const std::string& description) {
        return Lines{"[SysExt] Extension not available: " + description,
                     "posted quoxelin.systemExtension.failed: " + description, "onFailed"} +
               published(false, description);
    }
};

class SystemExtensionServiceTest : public ::testing::Test, public ExtensionUnderTest {
  public:
    using Lines = ExtensionUnderTest::Lines;
};

} // namespace quoxelin::testing
