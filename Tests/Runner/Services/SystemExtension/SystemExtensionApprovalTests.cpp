#include "Tests/Runner/Services/SystemExtension/SystemExtensionServiceFixture.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <filesystem>
#include <fstream>

namespace quoxelin::testing {

using SystemExtensionService = SystemExtensionServiceTest;

namespace {

constexpr const char* requiresApproval =
    "[SysExt] Extension com.quoxelin.desktop.PacketTunnel requires user approval";
constexpr const char* loginItems =
    "x-apple.systempreferences:com.apple.LoginItems-Settings.extension";
constexpr const char* networkExtensions =
    "x-apple.systempreferences:com.apple.settings.PrivacySecurity.extension?extensionPoint=com."
    "apple.system_extension.network_extension";
constexpr const char* privacy =
    "x-apple.systempreferences:com.apple.settings.PrivacySecurity.extension";
constexpr const char* extensionsPreferences =
    "x-apple.systempreferences:com.apple.ExtensionsPreferences";
constexpr const char* securityGeneral =
    "x-apple.systempreferences:com.apple.preference.security?General";
constexpr const char* security = "x-apple.systempreferences:com.apple.preference.security";

} // namespace

// The user's approval

TEST_F(SystemExtensionService, waitsForTheUsersApproval) {
    extensions.requireApproval();
    EXPECT_EQ(activateAndTake(), Lines{requiresApproval} + approvalNeeded());
    EXPECT_EQ(system.workspace.openedURLs(), (Lines{loginItems}));

    extensions.approve();
    EXPECT_EQ(settleAndTake(), Lines{"[SysExt] Completed"} + success());
    // The service has stopped waiting.
    system.application.becomeActive();
    EXPECT_EQ(settleAndTake(), Lines{});
    EXPECT_EQ(activations(), 1u);
}

TEST_F(SystemExtensionService, triesAgainWhenTheApplicationBecomesActive) {
    extensions.requireApproval();
    activateAndSettle();
    trace.take();
    system.application.becomeActive();
    EXPECT_EQ(settleAndTake(),
              (Lines{"[SysExt] App became active, re-trying activation", activating,
                     requestFailed(12, "The request was superseded."),
                     "[SysExt] Activation superseded; waiting for the replacing request",
                     requiresApproval} +
               approvalNeeded()));
    EXPECT_EQ(activations(), 2u);
    EXPECT_EQ(extensions.outstandingActivations(), 1u);

    // Only one observer, not one per request.
    system.application.resignActive();
    extensions.approve();
    dispatch.runUntilIdle();
    trace.take();
    dispatch.advance(seconds(60));
    system.application.becomeActive();
    EXPECT_EQ(settleAndTake(), Lines{});
}

TEST_F(SystemExtensionService, skipsTheRetryWhileAnActivationIsUnderWay) {
    extensions.requireApproval();
    activateAndSettle();
    extensions.answerDelay = seconds(1);
    service->activate();
    trace.take();
    system.application.becomeActive();
    EXPECT_EQ(trace.take(), (Lines{"[SysExt] App became active, re-trying activation",
                                   "[SysExt] Activation already in progress, skipping"}));
}

TEST_F(SystemExtensionService, doesNotTryAgainBeforeTheNeedIsPublished) {
    extensions.requireApproval();
    service->onNeedsUserApproval = [this] {
        dispatch.main().async([this] { trace.note("one turn later"); });
    };
    service->activate();
    trace.take();
    service->requestNeedsUserApproval(extensions.requests()[0]);
    trace.take();
    notificationCenter.post(NSApplicationDidBecomeActiveNotification);
    EXPECT_EQ(trace.take(), Lines{});
    dispatch.runUntilIdle();
    trace.take();
    notificationCenter.post(NSApplicationDidBecomeActiveNotification);
    EXPECT_EQ(trace.take().front(), "[SysExt] App became active, re-trying activation");
}

TEST_F(SystemExtensionService, callsBackBeforeItOpensTheSettings) {
    extensions.requireApproval();
    service->onNeedsUserApproval = [this] { EXPECT_TRUE(system.workspace.triedURLs().empty()); };
    activateAndSettle();
    EXPECT_FALSE(system.workspace.triedURLs().empty());
}

TEST_F(SystemExtensionService, canActivateAgainFromItsCallbacks) {
    const auto again = [this] {
        if (activations() == 1)
            service->activate();
    };
    extensions.requireApproval();
    service->onNeedsUserApproval = again;
    activateAndSettle();
    EXPECT_EQ(activations(), 2u);
}

TEST_F(SystemExtensionService, canActivateAgainFromTheCallbackOfAFailure) {
    refuseWith(1, "no", "NSCocoaErrorDomain");
    service->onFailed = [this] {
        if (activations() == 1)
            service->activate();
    };
    activateAndSettle();
    EXPECT_EQ(activations(), 2u);
}

TEST_F(SystemExtensionService, doesNotTryAgainAfterAFailure) {
    extensions.requireApproval();
    activateAndSettle();
    refuseWith(4, "not found");
    activateAndSettle();
    trace.take();
    system.application.becomeActive();
    EXPECT_EQ(settleAndTake(), Lines{});
}

TEST_F(SystemExtensionService, stopsWaitingBeforeItReportsTheOutcome) {
    // When the owner's callback runs, the published values still say that approval is needed.
    int told = 0;
    const auto becomeActive = [this, &told] {
        EXPECT_TRUE(service->needsUserApproval);
        trace.take();
        notificationCenter.post(NSApplicationDidBecomeActiveNotification);
        EXPECT_EQ(trace.take(), Lines{});
        ++told;
    };
    service->onCompleted = becomeActive;
    service->onFailed = becomeActive;
    extensions.requireApproval();
    activateAndSettle();
    extensions.approve();
    dispatch.runUntilIdle();
    EXPECT_EQ(told, 1);
    extensions.extensions.clear();
    extensions.requireApproval();
    activateAndSettle();
    extensions.failActivations({"NSCocoaErrorDomain", 4, "no entry"});
    dispatch.runUntilIdle();
    EXPECT_EQ(told, 2);
}

TEST_F(SystemExtensionService, doesNotTryAgainWhileARebootIsAwaited) {
    extensions.requireApproval();
    activateAndSettle();
    extensions.result = 1;
    extensions.approve();
    dispatch.runUntilIdle();
    trace.take();
    system.application.becomeActive();
    EXPECT_EQ(settleAndTake(), Lines{});
}

// The settings

TEST_F(SystemExtensionService, triesTheSettingsAddressesOfSystem15AndLater) {
    for (const int version : {15, 16, 26}) {
        SCOPED_TRACE(version);
        const auto before = system.workspace.triedURLs().size();
        system.processInfo.majorVersion = version;
        system.workspace.refuseURLs("");
        service->openSystemSettings();
        const auto& tried = system.workspace.triedURLs();
        EXPECT_EQ(Lines(tried.begin() + before, tried.end()),
                  (Lines{loginItems, networkExtensions, privacy}));
    }
}

TEST_F(SystemExtensionService, triesTheSettingsAddressesOfEarlierSystems) {
    system.processInfo.majorVersion = 14;
    system.workspace.refuseURLs("");
    service->openSystemSettings();
    EXPECT_EQ(system.workspace.triedURLs(),
              (Lines{networkExtensions, privacy, extensionsPreferences, loginItems, securityGeneral,
                     security}));
}

TEST_F(SystemExtensionService, stopsAtTheFirstSettingsAddressThatOpens) {
    system.processInfo.majorVersion = 14;
    system.workspace.refuseURLs(privacy);
    service->openSystemSettings();
    EXPECT_EQ(system.workspace.triedURLs(),
              (Lines{networkExtensions, privacy, extensionsPreferences}));
    EXPECT_EQ(system.workspace.openedURLs(), (Lines{extensionsPreferences}));
    EXPECT_TRUE(system.workspace.openedApplications().empty());
}

TEST_F(SystemExtensionService, opensTheSettingsApplicationIfNoAddressOpens) {
    using Paths = std::vector<std::filesystem::path>;
    system.workspace.refuseURLs("");
    system.workspace.applications = {{"com.apple.SystemSettings", "/Settings.app"},
                                     {"com.apple.systempreferences", "/Preferences.app"}};
    service->openSystemSettings();
    EXPECT_EQ(system.workspace.openedApplications(), (Paths{"/Settings.app"}));
    system.workspace.applications.erase("com.apple.SystemSettings");
    service->openSystemSettings();
    EXPECT_EQ(system.workspace.openedApplications(), (Paths{"/Settings.app", "/Preferences.app"}));
    system.workspace.applications.clear();
    service->openSystemSettings();
    EXPECT_EQ(system.workspace.openedApplications(), (Paths{"/Settings.app", "/Preferences.app"}));
    EXPECT_EQ(trace.take(), Lines{});
}

// The properties probe

class InstalledExtension : public SystemExtensionServiceTest {
  public:
    bool isFound() {
        refuseWith(10, "forbidden");
        return activateAndTake().at(1) == probed(true);
    }
};

TEST_F(InstalledExtension, countsWhenItIsEnabledAndAllowed) {
    extensions.extensions = {{ourExtension, "1.0", true, false}};
    EXPECT_TRUE(isFound());
    extensions.extensions = {{ourExtension, "1.0", false, false}};
    EXPECT_FALSE(isFound());
    extensions.extensions = {{ourExtension, "1.0", true, true}};
    EXPECT_FALSE(isFound());
    extensions.extensions = {{ourExtension, "1.0", false, true}};
    EXPECT_FALSE(isFound());
}

TEST_F(InstalledExtension, countsDespiteVersionsThatDoNot) {
    extensions.extensions = {{ourExtension, "0.9", false, false},
                             {ourExtension, "1.0", false, true},
                             {ourExtension, "1.1", true, false}};
    EXPECT_TRUE(isFound());
}

TEST_F(InstalledExtension, ignoresOtherIdentifiers) {
    extensions.extensions = {{"com.example.PacketTunnel", "1.0", true, false}};
    EXPECT_FALSE(isFound());
    // Not even if the system returns properties that were not requested.
    extensions.answersProperties = false;
    service->activate();
    dispatch.runUntilIdle();
    const auto request = extensions.requests().back();
    ASSERT_EQ(request.kind, OSSystemExtensionRequest::Kind::properties);
    trace.take();
    request.delegate.lock()->foundProperties(request,
                                             {{"com.example.PacketTunnel", "1.0", true, false}});
    EXPECT_EQ(trace.take().front(), probed(false));
}

TEST_F(InstalledExtension, isUnknownWhenThePropertiesRequestFails) {
    extensions.extensions = {{ourExtension, "1.0", true, false}};
    extensions.propertiesError = Error{OSSystemExtensionErrorDomain, 1, "unknown"};
    refuseWith(10, "forbidden");
    EXPECT_EQ(activateAndTake(),
              (Lines{requestFailed(10, "forbidden"), "[SysExt] Properties request failed: unknown",
                     probed(false)} +
               failure("forbidden")));
}

TEST_F(InstalledExtension, isMissingWhenTheProbeHasNoAnswerForFiveSeconds) {
    extensions.extensions = {{ourExtension, "1.0", true, false}};
    extensions.answersProperties = false;
    refuseWith(10, "forbidden");
    dispatch.advance(seconds(1));
    activateAndSettle();
    trace.take();
    // Other activations are possible while the probe runs.
    dispatch.advance(seconds(5) - Duration(1));
    EXPECT_EQ(trace.take(), Lines{});
    dispatch.advance(Duration(1));
    EXPECT_EQ(trace.take(), Lines{probed(false)} + failure("forbidden"));
    dispatch.advance(seconds(60));
    EXPECT_EQ(trace.take(), Lines{});
}

TEST_F(InstalledExtension, isDecidedByTheFirstAnswer) {
    extensions.answersProperties = false;
    refuseWith(10, "forbidden");
    activateAndSettle();
    const auto request = extensions.requests().back();
    const auto probe = request.delegate.lock();
    trace.take();
    probe->foundProperties(request, {{ourExtension, "1.0", true, false}});
    EXPECT_EQ(trace.take().front(), probed(true));
    dispatch.runUntilIdle();
    trace.take();
    probe->foundProperties(request, {});
    EXPECT_EQ(trace.take(), Lines{});
    probe->didFailWithError(request, {OSSystemExtensionErrorDomain, 1, "late"});
    EXPECT_EQ(trace.take(), (Lines{"[SysExt] Properties request failed: late"}));
    dispatch.advance(seconds(60));
    EXPECT_EQ(trace.take(), Lines{});
}

TEST_F(InstalledExtension, isForgottenWithItsProbeOnceItHasAnswered) {
    refuseWith(10, "forbidden");
    activateAndSettle();
    EXPECT_TRUE(extensions.requests().back().delegate.expired());
}

TEST_F(InstalledExtension, isAskedForByEachOfSeveralProbes) {
    extensions.answersProperties = false;
    refuseWith(10, "forbidden");
    activateAndSettle();
    dispatch.advance(seconds(2));
    activateAndSettle();
    dispatch.advance(seconds(60));
    Lines failures;
    for (const auto& line : trace.takeTimed()) {
        if (line.find("onFailed") != std::string::npos)
            failures.push_back(line);
    }
    EXPECT_EQ(failures, (Lines{"5 onFailed", "7 onFailed"}));
}

// The extension's identifier

class ExtensionIdentifier : public SystemExtensionServiceTest {
  public:
    ExtensionIdentifier() : folder(root.path() / "Contents" / "Library" / "SystemExtensions") {
        std::filesystem::create_directories(folder);
        system.mainBundle.url = root.path();
    }

    void embed(const std::string& name, const std::string& identifier) {
        std::filesystem::create_directories(folder / name);
        if (!identifier.empty())
            system.mainBundle.bundles[folder / name] = identifier;
    }

    std::string activated() {
        activateAndSettle();
        return extensions.requests().back().identifier;
    }

    TemporaryDirectory root;
    std::filesystem::path folder;
};

TEST_F(ExtensionIdentifier, isThatOfTheEmbeddedExtension) {
    embed("README", "wrong");
    embed("Tunnel.appex", "wrong");
    embed("Tunnel.SystemExtension", "wrong");
    embed("Tunnel.systemextension", "org.example.tunnel");
    EXPECT_EQ(activated(), "org.example.tunnel");
    EXPECT_EQ(trace.take().front(), "[SysExt] Activating extension org.example.tunnel");
}

TEST_F(ExtensionIdentifier, isThatOfTheFirstOfSeveralByName) {
    embed("b.systemextension", "org.example.b");
    embed("a.systemextension", "org.example.a");
    embed("c.systemextension", "org.example.c");
    EXPECT_EQ(activated(), "org.example.a");
}

TEST_F(ExtensionIdentifier, isLookedUpForEachActivation) {
    EXPECT_EQ(activated(), ourExtension);
    embed("Tunnel.systemextension", "org.example.tunnel");
    EXPECT_EQ(activated(), "org.example.tunnel");
}

TEST_F(ExtensionIdentifier, followsTheBundleIdentifierWithoutAnEmbeddedExtension) {
    system.mainBundle.identifier = "org.example.white-label";
    EXPECT_EQ(activated(), "org.example.white-label.PacketTunnel");
    // A bundle without an identifier, and a file instead of a folder.
    embed("a.systemextension", "");
    EXPECT_EQ(activated(), "org.example.white-label.PacketTunnel");
    std::filesystem::remove_all(folder);
    EXPECT_EQ(activated(), "org.example.white-label.PacketTunnel");
    std::ofstream(folder) << "no folder";
    EXPECT_EQ(activated(), "org.example.white-label.PacketTunnel");
}

TEST_F(ExtensionIdentifier, isTheDefaultWithoutABundleIdentifier) {
    for (const auto& missing : {std::optional<std::string>(), std::optional<std::string>("")}) {
        system.mainBundle.identifier = missing;
        EXPECT_EQ(activated(), ourExtension);
        const auto lines = trace.take();
        EXPECT_EQ(lines.at(0), "[SysExt] Missing host bundle identifier; falling back to default "
                               "PacketTunnel id");
        EXPECT_EQ(lines.at(1), "[SysExt] Activating extension com.quoxelin.desktop.PacketTunnel");
    }
}

} // namespace quoxelin::testing
