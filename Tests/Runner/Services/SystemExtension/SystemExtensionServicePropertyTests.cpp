#include "Tests/Runner/Services/SystemExtension/SystemExtensionServiceFixture.h"

#include <rapidcheck/gtest.h>

namespace quoxelin::testing {

namespace {

/// Events that can happen to the service, in any order.
enum class Step {
    activate,
    activateFromAnotherThread,
    becomeActive,
    requireApproval,
    approve,
    cancel,
    supersede,
    needAuthorization,
    refuse,
    failInAnotherDomain,
    accept,
    neverAnswer,
    answer,
    neverAnswerProbes,
    failProbes,
    answerProbes,
    answerLate,
    answerSoon,
    finishAfterReboot,
    finishUnexpectedly,
    finish,
    releaseAnotherVersion,
    uninstall,
    takeATurn,
    waitShortly,
    waitLong,
    destroy,
};
constexpr int stepCount = static_cast<int>(Step::destroy) + 1;

struct AnyCourse : ExtensionUnderTest {
    int completed = 0;
    int failed = 0;
    int needed = 0;
    int rebooted = 0;

    AnyCourse() {
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

    void perform(Step step) {
        if (service)
            performOnService(step);
        performOnSystem(step);
        performOnAnswers(step);
        performOnProbes(step);
    }

    void performOnService(Step step) {
        if (step == Step::activate) {
            service->activate();
        } else if (step == Step::activateFromAnotherThread) {
            dispatch.global(QualityOfService::standard).async([this] { service->activate(); });
            dispatch.runUntilIdle();
        } else if (step == Step::destroy) {
            destroy();
            trace.take();
        }
    }

    void performOnSystem(Step step) {
        if (step == Step::becomeActive) {
            system.application.becomeActive();
            system.application.resignActive();
        } else if (step == Step::requireApproval) {
            extensions.requireApproval();
        } else if (step == Step::approve) {
            extensions.approve();
        } else if (step == Step::cancel) {
            extensions.failActivations({OSSystemExtensionErrorDomain, 11, "canceled"});
        } else if (step == Step::supersede) {
            extensions.failActivations({OSSystemExtensionErrorDomain, 12, "superseded"});
        } else if (step == Step::releaseAnotherVersion) {
            extensions.bundledVersion += ".1";
        } else if (step == Step::uninstall) {
            extensions.extensions.clear();
        } else if (step == Step::takeATurn) {
            dispatch.runUntilIdle();
        } else if (step == Step::waitShortly) {
            dispatch.advance(seconds(0.7));
        } else if (step == Step::waitLong) {
            dispatch.advance(seconds(20));
        }
    }

    void performOnAnswers(Step step) {
        if (step == Step::needAuthorization)
            refuseWith(13, "authorize");
        else if (step == Step::refuse)
            refuseWith(10, "forbidden");
        else if (step == Step::failInAnotherDomain)
            refuseWith(4, "no entry", "NSCocoaErrorDomain");
        else if (step == Step::accept)
            extensions.activationError.reset();
        else if (step == Step::neverAnswer)
            extensions.answersActivations = false;
        else if (step == Step::answer)
            extensions.answersActivations = true;
        else if (step == Step::answerLate)
            extensions.answerDelay = seconds(1.5);
        else if (step == Step::answerSoon)
            extensions.answerDelay = Duration::zero();
        else if (step == Step::finishAfterReboot)
            extensions.result = 1;
        else if (step == Step::finishUnexpectedly)
            extensions.result = 7;
        else if (step == Step::finish)
            extensions.result = 0;
    }

    void performOnProbes(Step step) {
        if (step == Step::neverAnswerProbes)
            extensions.answersProperties = false;
        else if (step == Step::failProbes)
            extensions.propertiesError = Error{OSSystemExtensionErrorDomain, 1, "unknown"};
        else if (step == Step::answerProbes) {
            extensions.answersProperties = true;
            extensions.propertiesError.reset();
        }
    }

    /// Makes the system behave correctly from now on.
    void repair() {
        for (const auto step : {Step::accept, Step::answer, Step::answerProbes, Step::answerSoon,
                                Step::finish, Step::approve})
            perform(step);
    }
};

std::vector<Step> anyCourse() {
    const auto numbers = *rc::gen::container<std::vector<int>>(rc::gen::inRange(0, stepCount));
    std::vector<Step> steps;
    for (const int number : numbers)
        steps.push_back(static_cast<Step>(number));
    return steps;
}

std::size_t countOf(const std::vector<std::string>& lines, const std::string& line) {
    return std::count(lines.begin(), lines.end(), line);
}

} // namespace

RC_GTEST_PROP(SystemExtensionServiceProperties, alwaysFreesTheGuardOnceTheSystemHasReported, ()) {
    AnyCourse course;
    for (const auto step : anyCourse()) {
        if (step != Step::destroy)
            course.perform(step);
    }
    // Requests without an answer end as superseded, which blocks activations for thirty seconds.
    course.repair();
    course.perform(Step::supersede);
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
    AnyCourse course;
    std::vector<std::string> lines;
    for (const auto step : anyCourse()) {
        if (step == Step::destroy)
            continue;
        course.perform(step);
        const auto more = course.trace.take();
        lines.insert(lines.end(), more.begin(), more.end());
    }
    course.dispatch.advance(seconds(120));
    const auto more = course.trace.take();
    lines.insert(lines.end(), more.begin(), more.end());

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
    AnyCourse course;
    for (const auto step : anyCourse())
        course.perform(step);
    course.destroy();
    course.trace.take();
    course.repair();
    course.perform(Step::becomeActive);
    course.dispatch.advance(seconds(120));
    RC_ASSERT(course.trace.take().empty());
}

} // namespace quoxelin::testing
