#include "Tests/Runner/Services/SystemExtension/SystemExtensionServiceFixture.h"

#include <rapidcheck/gtest.h>

namespace quoxelin::testing {

namespace {

/// A service and a system to which anything may happen.
struct ExtensionCourse : ExtensionUnderTest {
    int completed = 0;
    int failed = 0;
    int needed = 0;
    int rebooted = 0;

    ExtensionCourse() {
        service->onCompleted = [this] { count(completed); };
        service->onFailed = [this] { count(failed); };
        service->onNeedsUserApproval = [this] { count(needed); };
        service->onWillCompleteAfterReboot = [this] { count(rebooted); };
    }

    void count(int& calls) {
        RC_ASSERT(service != nullptr);
        RC_ASSERT(dispatch.isMainThread());
        ++calls;
    }

    /// Checks that service and system agree while no work is pending.
    void checkAtRest() {
        RC_ASSERT(!(service->isApproved && service->needsUserApproval));
        if (service->isApproved)
            RC_ASSERT(service->lastErrorDescription.get() == std::nullopt);
    }

    void becomeActive() {
        system.application.becomeActive();
        system.application.resignActive();
    }

    void fail(OSSystemExtensionError code, const char* description) {
        extensions.failActivations(
            {OSSystemExtensionErrorDomain, static_cast<int>(code), description});
    }

    /// Makes the system behave correctly from now on.
    void repair() {
        extensions.activationError.reset();
        extensions.answersActivations = true;
        extensions.answersProperties = true;
        extensions.propertiesError.reset();
        extensions.answerDelay = Duration::zero();
        extensions.result = 0;
        extensions.approve();
    }
};

using ExtensionStep = void (*)(ExtensionCourse&);

/// Events in any order. Those of the service come first; the last of them ends it.
constexpr std::size_t eventsOfTheService = 3;
const std::vector<ExtensionStep> events{
    [](ExtensionCourse& on) { on.service->activate(); },
    [](ExtensionCourse& on) {
        on.dispatch.global(QualityOfService::standard).async([&on] { on.service->activate(); });
        on.dispatch.runUntilIdle();
    },
    [](ExtensionCourse& on) {
        on.destroy();
        on.trace.take();
    },
    [](ExtensionCourse& on) { on.becomeActive(); },
    [](ExtensionCourse& on) { on.extensions.requireApproval(); },
    [](ExtensionCourse& on) { on.extensions.approve(); },
    [](ExtensionCourse& on) { on.fail(OSSystemExtensionError::requestCanceled, "canceled"); },
    [](ExtensionCourse& on) { on.fail(OSSystemExtensionError::requestSuperseded, "superseded"); },
    [](ExtensionCourse& on) { on.refuseWith(13, "authorize"); },
    [](ExtensionCourse& on) { on.refuseWith(10, "forbidden"); },
    [](ExtensionCourse& on) { on.refuseWith(4, "no entry", "NSCocoaErrorDomain"); },
    [](ExtensionCourse& on) { on.extensions.activationError.reset(); },
    [](ExtensionCourse& on) { on.extensions.answersActivations = false; },
    [](ExtensionCourse& on) { on.extensions.answersActivations = true; },
    [](ExtensionCourse& on) { on.extensions.answersProperties = false; },
    [](ExtensionCourse& on) {
        on.extensions.propertiesError = Error{OSSystemExtensionErrorDomain, 1, "unknown"};
    },
    [](ExtensionCourse& on) {
        on.extensions.answersProperties = true;
        on.extensions.propertiesError.reset();
    },
    [](ExtensionCourse& on) { on.extensions.answerDelay = seconds(1.5); },
    [](ExtensionCourse& on) { on.extensions.answerDelay = Duration::zero(); },
    [](ExtensionCourse& on) { on.extensions.result = 1; },
    [](ExtensionCourse& on) { on.extensions.result = 7; },
    [](ExtensionCourse& on) { on.extensions.result = 0; },
    [](ExtensionCourse& on) { on.extensions.bundledVersion += ".1"; },
    [](ExtensionCourse& on) { on.extensions.extensions.clear(); },
    [](ExtensionCourse& on) { on.dispatch.runUntilIdle(); },
    [](ExtensionCourse& on) { on.dispatch.advance(seconds(0.7)); },
    [](ExtensionCourse& on) { on.dispatch.advance(seconds(20)); },
};

/// Brings some events about. The service lives through all unless it may end.
void follow(ExtensionCourse& course, bool mayEnd) {
    for (const auto at : *rc::gen::container<std::vector<std::size_t>>(
             rc::gen::inRange<std::size_t>(0, events.size()))) {
        const bool ends = at + 1 == eventsOfTheService;
        if (at < eventsOfTheService && (!course.service || (ends && !mayEnd)))
            continue;
        events[at](course);
    }
}

std::size_t countOf(const std::vector<std::string>& lines, const std::string& line) {
    return std::count(lines.begin(), lines.end(), line);
}

} // namespace

RC_GTEST_PROP(SystemExtensionServiceProperties, alwaysFreesTheGuardOnceTheSystemHasReported, ()) {
    ExtensionCourse course;
    follow(course, false);
    // Requests without an answer end as superseded, which blocks activations for thirty seconds.
    course.repair();
    course.fail(OSSystemExtensionError::requestSuperseded, "superseded");
    course.dispatch.advance(seconds(120));
    course.checkAtRest();
    const auto before = course.activations();
    course.service->activate();
    RC_ASSERT(course.activations() == before + 1);
    course.dispatch.advance(seconds(1));
    RC_ASSERT(course.service->isApproved.get());
    course.checkAtRest();
}

RC_GTEST_PROP(SystemExtensionServiceProperties, reportsEachOutcomeByCallbackAndNotification, ()) {
    ExtensionCourse course;
    follow(course, false);
    course.dispatch.advance(seconds(120));
    const auto lines = course.trace.take();

    std::size_t posted = 0;
    for (const auto& line : lines)
        posted += line.find("posted quoxelin.systemExtension.failed: ") == 0;
    RC_ASSERT(static_cast<std::size_t>(course.failed) == posted);
    RC_ASSERT(static_cast<std::size_t>(course.completed) ==
              countOf(lines, "posted quoxelin.systemExtension.completed"));
    RC_ASSERT(static_cast<std::size_t>(course.needed) ==
              countOf(lines, "posted quoxelin.systemExtension.needsApproval"));
    RC_ASSERT(static_cast<std::size_t>(course.rebooted) ==
              countOf(lines, "[SysExt] Will complete after reboot"));
    // Each probe reports once.
    const std::string probe = "[SysExt] Properties probe for ";
    std::size_t answered = 0;
    for (const auto& line : lines)
        answered += line.compare(0, probe.size(), probe) == 0;
    RC_ASSERT(answered ==
              course.extensions.submissions(OSSystemExtensionRequest::Kind::properties));
}

RC_GTEST_PROP(SystemExtensionServiceProperties, reportsNothingAfterDestruction, ()) {
    ExtensionCourse course;
    follow(course, true);
    course.destroy();
    course.trace.take();
    course.repair();
    course.becomeActive();
    course.dispatch.advance(seconds(120));
    RC_ASSERT(course.trace.take().empty());
}

} // namespace quoxelin::testing
