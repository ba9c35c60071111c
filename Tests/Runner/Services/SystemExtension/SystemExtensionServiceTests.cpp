#include "Runner/Services/SystemExtension/ExtensionPropertiesProbe.h"
#include "Tests/Runner/Services/SystemExtension/SystemExtensionServiceFixture.h"

namespace quoxelin::testing {

using SystemExtensionService = SystemExtensionServiceTest;

// Activation

TEST_F(SystemExtensionService, startsWithNothingKnown) {
    EXPECT_FALSE(service->isApproved);
    EXPECT_FALSE(service->needsUserApproval);
    EXPECT_EQ(service->lastErrorDescription.get(), std::nullopt);
    EXPECT_EQ(activations(), 0u);
}

TEST_F(SystemExtensionService, reportsSuccessBeforeTheNewValuesArePublished) {
    service->activate();
    EXPECT_EQ(trace.take(), Lines{activating});
    EXPECT_EQ(settleAndTake(), Lines{"[SysExt] Completed"} + success());
    EXPECT_TRUE(service->isApproved);
    ASSERT_EQ(extensions.requests().size(), 1u);
    EXPECT_EQ(extensions.requests()[0].kind, OSSystemExtensionRequest::Kind::activation);
    EXPECT_EQ(extensions.requests()[0].identifier, ourExtension);
    ASSERT_EQ(extensions.extensions.size(), 1u);
    EXPECT_TRUE(extensions.extensions[0].isEnabled);
}

TEST_F(SystemExtensionService, replacesNothingWhenItOnlyLooksForAnExtension) {
    ExtensionPropertiesProbe probe(logger, ourExtension);
    EXPECT_EQ(probe.actionForReplacingExtension(
                  {OSSystemExtensionRequest::Kind::properties, ourExtension, {}}, {}, {}),
              OSSystemExtensionReplacementAction::cancel);
}

TEST_F(SystemExtensionService, activatesWithoutAnyCallback) {
    service->onCompleted = nullptr;
    service->onFailed = nullptr;
    service->onNeedsUserApproval = nullptr;
    service->onWillCompleteAfterReboot = nullptr;
    activateAndSettle();
    extensions.result = 1;
    activateAndSettle();
    extensions.requireApproval();
    extensions.extensions.clear();
    activateAndSettle();
    refuseWith(4, "not found");
    activateAndSettle();
    EXPECT_EQ(service->lastErrorDescription.get(), "not found");
}

TEST_F(SystemExtensionService, submitsOneRequestForTwoActivationsInARow) {
    service->activate();
    service->activate();
    EXPECT_EQ(trace.take(),
              (Lines{activating, "[SysExt] Activation already in progress, skipping"}));
    EXPECT_EQ(activations(), 1u);
    dispatch.runUntilIdle();
    service->activate();
    EXPECT_EQ(activations(), 2u);
}

TEST_F(SystemExtensionService, repeatsCallsFromOtherThreadsOnTheMainQueue) {
    dispatch.global(QualityOfService::standard).async([this] {
        service->activate();
        service->openSystemSettings();
        EXPECT_EQ(activations(), 0u);
        EXPECT_TRUE(system.workspace.triedURLs().empty());
    });
    dispatch.runUntilIdle();
    EXPECT_EQ(activations(), 1u);
    EXPECT_EQ(system.workspace.openedURLs().size(), 1u);
}

TEST_F(SystemExtensionService, replacesAnInstalledVersionWhateverTheVersionsAre) {
    for (const char* installed : {"0.9", "2.0", "", "1.0-beta"}) {
        extensions.extensions = {{ourExtension, installed, true, false}};
        const auto replacing = fmt::format("[SysExt] Replacing extension com.quoxelin.desktop."
                                           "PacketTunnel version {} with version 1.0",
                                           installed);
        EXPECT_EQ(activateAndTake(), (Lines{replacing, "[SysExt] Completed"} + success()));
        ASSERT_EQ(extensions.extensions.size(), 1u);
        EXPECT_EQ(extensions.extensions[0].bundleShortVersion, "1.0");
    }
    // Even if the system asks about the same version.
    const OSSystemExtensionProperties same{ourExtension, "1.0", true, false};
    EXPECT_EQ(service->actionForReplacingExtension(extensions.requests()[0], same, same),
              OSSystemExtensionReplacementAction::replace);
}

TEST_F(SystemExtensionService, reportsThatARebootIsNeeded) {
    extensions.result = 1;
    EXPECT_EQ(activateAndTake(),
              (Lines{"[SysExt] Will complete after reboot", "onWillCompleteAfterReboot"} +
               published(false)));
    service->activate();
    EXPECT_EQ(activations(), 2u);
}

TEST_F(SystemExtensionService, reportsNoOutcomeForAnUnexpectedResult) {
    for (const int result : {2, -1, 4711}) {
        extensions.result = result;
        EXPECT_EQ(activateAndTake(), Lines{fmt::format("[SysExt] Unexpected result {}", result)});
    }
    EXPECT_EQ(activations(), 3u);
}

// Failures

TEST_F(SystemExtensionService, reportsAFailureOfAnotherDomainUnchanged) {
    // Codes of another domain have other meanings, so no probe is sent.
    for (const int code : {11, 12, 13, 4}) {
        refuseWith(code, "no entry", "NSCocoaErrorDomain");
        EXPECT_EQ(activateAndTake(), Lines{requestFailed(code, "no entry", "NSCocoaErrorDomain")} +
                                         failure("no entry"));
    }
    EXPECT_EQ(activations(), 4u);
    EXPECT_EQ(extensions.requests().size(), 4u);
}

TEST_F(SystemExtensionService, keepsItsStateWhenARequestIsCanceled) {
    activateAndSettle();
    trace.take();
    refuseWith(11, "canceled");
    EXPECT_EQ(activateAndTake(), (Lines{requestFailed(11, "canceled"),
                                        "[SysExt] Activation canceled; keeping current state"}));
    EXPECT_TRUE(service->isApproved);
    service->activate();
    EXPECT_EQ(activations(), 3u);
}

TEST_F(SystemExtensionService, leadsToTheSettingsWhenAuthorizationIsRequired) {
    refuseWith(13, "please allow");
    EXPECT_EQ(activateAndTake(), (Lines{requestFailed(13, "please allow"),
                                        "[SysExt] Extension needs user approval: please allow"} +
                                  approvalNeeded("please allow")));
    EXPECT_EQ(system.workspace.openedURLs().size(), 1u);
    extensions.activationError.reset();
    system.application.becomeActive();
    EXPECT_EQ(settleAndTake(), (Lines{"[SysExt] App became active, re-trying activation",
                                      activating, "[SysExt] Completed"} +
                                success()));
}

TEST_F(SystemExtensionService, freesTheGuardWhenASupersededRequestIsNeverReplaced) {
    extensions.answersActivations = false;
    service->activate();
    dispatch.advance(seconds(2));
    extensions.failActivations({OSSystemExtensionErrorDomain, 12, "superseded"});
    dispatch.advance(seconds(29.5));
    EXPECT_EQ(trace.takeTimed(),
              (Lines{std::string("0 ") + activating, "2 " + requestFailed(12, "superseded"),
                     "2 [SysExt] Activation superseded; waiting for the replacing request"}));
    service->activate();
    EXPECT_EQ(trace.take(), (Lines{"[SysExt] Activation already in progress, skipping"}));
    dispatch.advance(seconds(10));
    EXPECT_EQ(trace.takeTimed(),
              (Lines{"32 [SysExt] Replacing request never reported; clearing in-flight guard"}));
    service->activate();
    EXPECT_EQ(activations(), 2u);
}

TEST_F(SystemExtensionService, doesNotReleaseTheGuardOfAnotherActivation) {
    extensions.answersActivations = false;
    service->activate();
    extensions.failActivations({OSSystemExtensionErrorDomain, 12, "superseded"});
    dispatch.advance(seconds(10));
    // The replacing request reports to the service, which then allows another activation.
    service->didFinishWithResult(extensions.requests()[0], 0);
    service->activate();
    trace.take();
    dispatch.advance(seconds(60));
    const auto lines = trace.take();
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         "[SysExt] Replacing request never reported; clearing in-flight guard"),
              0);
    service->activate();
    EXPECT_EQ(trace.take(), (Lines{"[SysExt] Activation already in progress, skipping"}));
}

TEST_F(SystemExtensionService, reportsNothingAfterTheReplacingRequestHasReported) {
    extensions.answersActivations = false;
    service->activate();
    extensions.failActivations({OSSystemExtensionErrorDomain, 12, "superseded"});
    dispatch.advance(seconds(10));
    service->didFinishWithResult(extensions.requests()[0], 0);
    trace.take();
    dispatch.advance(seconds(60));
    EXPECT_EQ(trace.take(), published(true));
}

class RefusedActivation : public SystemExtensionServiceTest,
                          public ::testing::WithParamInterface<int> {};

TEST_P(RefusedActivation, isAFailureWithoutAnInstalledExtension) {
    refuseWith(GetParam(), "refused");
    EXPECT_EQ(activateAndTake(),
              (Lines{requestFailed(GetParam(), "refused"), probed(false)} + failure("refused")));
}

TEST_P(RefusedActivation, isASuccessWithAnInstalledExtension) {
    extensions.extensions = {{ourExtension, "1.0", true, false}};
    refuseWith(GetParam(), "refused");
    EXPECT_EQ(activateAndTake(),
              (Lines{requestFailed(GetParam(), "refused"), probed(true),
                     "[SysExt] Activation refused but an installed extension is enabled; "
                     "continuing with it"} +
               success()));
}

INSTANTIATE_TEST_SUITE_P(SystemExtensionService, RefusedActivation,
                         ::testing::Values(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 14, 0, -1));

// Lifetime

TEST_F(SystemExtensionService, isNotCalledAfterDestruction) {
    extensions.requireApproval();
    activateAndSettle();
    service->activate();
    extensions.failActivations({OSSystemExtensionErrorDomain, 12, "superseded"});
    dispatch.runUntilIdle();
    service->activate();
    dispatch.global(QualityOfService::standard).async([this] {
        // Destroys the service on the main queue's next turn; the call comes on the turn after it.
        dispatch.main().async([this] { destroy(); });
        service->activate();
    });
    dispatch.runUntilIdle();
    trace.take();
    extensions.approve();
    system.application.becomeActive();
    dispatch.advance(seconds(60));
    EXPECT_EQ(trace.take(), Lines{});
}

TEST_F(SystemExtensionService, publishesNothingAfterDestruction) {
    service->onCompleted = [this] {
        trace.note("onCompleted");
        dispatch.main().async([this] { trace.note("next turn"); });
    };
    service->activate();
    extensions.answerDelay = seconds(1);
    dispatch.runUntilIdle();
    trace.take();
    service->activate();
    dispatch.advance(seconds(1));
    service->didFinishWithResult(extensions.requests()[0], 0);
    destroy();
    trace.take();
    dispatch.advance(seconds(60));
    EXPECT_EQ(trace.take(), (Lines{"next turn"}));
}

} // namespace quoxelin::testing
