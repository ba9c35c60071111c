#include "Tests/Runner/Services/VPN/VPNTunnelServiceFixture.h"

#include <rapidcheck/gtest.h>

namespace quoxelin::testing {

namespace {

using Network = SimulatedNetworkExtension;

/// Events that can happen to the tunnel service, in any order.
enum class TunnelStep {
    start,
    startFromAnotherThread,
    stop,
    ensureSaved,
    ensureSavedFromAnotherThread,
    remove,
    requireApproval,
    allow,
    decline,
    failLoadAll,
    failLoad,
    failSave,
    failRemove,
    failStarts,
    repair,
    answerBeforeReturning,
    answerOnMainThread,
    answerOnAnotherThread,
    answerLate,
    answerSoon,
    handOutCopies,
    takeConnectionsAway,
    anotherApplicationSaves,
    aPersonRemoves,
    aPersonDisables,
    dropTunnel,
    reassertTunnel,
    reportUnknownStatus,
    letTunnelsFail,
    changeNothingButTell,
    takeATurn,
    waitShortly,
    waitLong,
    destroy,
};
constexpr int stepCount = static_cast<int>(TunnelStep::destroy) + 1;

/// A service on a simulated system, and its pending completions.
struct TunnelCourse : TunnelUnderTest {
    int asked = 0;
    std::map<int, int> completed;
    bool isGone = false;

    std::function<void()> owed() {
        return [this, number = asked++] {
            RC_ASSERT(dispatch.isMainThread());
            ++completed[number];
        };
    }

    /// The tunnel of our first configuration, otherwise of the first one.
    SimulatedTunnel* someTunnel() {
        const auto saved = network.configurations();
        const auto ours = std::find_if(saved.begin(), saved.end(), [](const auto& one) {
            return one.protocol->providerBundleIdentifier == ourProvider;
        });
        if (saved.empty())
            return nullptr;
        return &network.tunnel(ours == saved.end() ? 0 : ours - saved.begin());
    }

    void perform(TunnelStep step) {
        if (!isGone)
            performOnService(step);
        performOnSystem(step);
        RC_ASSERT(network.tunnels.needlessStarts == 0);
    }

    void performOnService(TunnelStep step) {
        auto& queue = dispatch.global(QualityOfService::standard);
        if (step == TunnelStep::start)
            service->start();
        else if (step == TunnelStep::stop)
            service->stop();
        else if (step == TunnelStep::ensureSaved)
            service->ensureConfigurationSaved(owed());
        else if (step == TunnelStep::remove)
            service->removeConfiguration(owed());
        else if (step == TunnelStep::startFromAnotherThread)
            callFrom(queue, [this] { service->start(); });
        else if (step == TunnelStep::ensureSavedFromAnotherThread)
            callFrom(queue, [this, done = owed()] { service->ensureConfigurationSaved(done); });
        else if (step == TunnelStep::destroy)
            end();
    }

    /// The service must exist when the call is made, but may be gone when its effects come.
    void callFrom(Queue& queue, std::function<void()> call) {
        bool done = false;
        queue.async([&] {
            call();
            done = true;
        });
        dispatch.runUntilIdle();
        RC_ASSERT(done);
    }

    void end() {
        destroy();
        isGone = true;
        trace.take();
    }

    void performOnSystem(TunnelStep step);
    void performOnTunnel(TunnelStep step);
    void performOnPreferences(TunnelStep step);
};

void TunnelCourse::performOnSystem(TunnelStep step) {
    static const Error failure{"NEVPNErrorDomain", 5, "no"};
    using Operation = Network::Operation;
    if (step == TunnelStep::failLoadAll)
        network.errors[Operation::loadAll] = failure;
    else if (step == TunnelStep::failLoad)
        network.errors[Operation::load] = failure;
    else if (step == TunnelStep::failSave)
        network.errors[Operation::save] = failure;
    else if (step == TunnelStep::failRemove)
        network.errors[Operation::remove] = failure;
    else if (step == TunnelStep::answerBeforeReturning)
        network.answers = Network::Answers::beforeReturning;
    else if (step == TunnelStep::answerOnMainThread)
        network.answers = Network::Answers::onMainThread;
    else if (step == TunnelStep::answerOnAnotherThread)
        network.answers = Network::Answers::onAnotherThread;
    else if (step == TunnelStep::answerLate)
        network.answerDelay = seconds(0.75);
    else if (step == TunnelStep::answerSoon)
        network.answerDelay = Duration::zero();
    else if (step == TunnelStep::takeATurn)
        dispatch.runUntilIdle();
    else if (step == TunnelStep::waitShortly)
        dispatch.advance(seconds(0.4));
    else if (step == TunnelStep::waitLong)
        dispatch.advance(seconds(10));
    performOnTunnel(step);
    performOnPreferences(step);
}

void TunnelCourse::performOnTunnel(TunnelStep step) {
    static const Error refused{"NEVPNErrorDomain", 2, "no"};
    if (step == TunnelStep::failStarts) {
        network.tunnels.startError = refused;
    } else if (step == TunnelStep::letTunnelsFail) {
        network.tunnels.comeUp = false;
    } else if (step == TunnelStep::takeConnectionsAway) {
        network.hasConnections = false;
    } else if (step == TunnelStep::repair) {
        network.errors.clear();
        network.tunnels.startError.reset();
        network.tunnels.comeUp = true;
        network.hasConnections = true;
    } else if (auto* const tunnel = someTunnel()) {
        if (step == TunnelStep::dropTunnel)
            tunnel->drop();
        else if (step == TunnelStep::reassertTunnel)
            tunnel->reassert(seconds(1));
        else if (step == TunnelStep::reportUnknownStatus)
            tunnel->report(99);
    }
}

void TunnelCourse::performOnPreferences(TunnelStep step) {
    if (step == TunnelStep::requireApproval) {
        network.requireApproval();
    } else if (step == TunnelStep::allow) {
        network.allow();
    } else if (step == TunnelStep::decline) {
        network.decline();
    } else if (step == TunnelStep::handOutCopies) {
        network.sharesProtocols = false;
    } else if (step == TunnelStep::changeNothingButTell) {
        network.tellConfigurationChange();
    } else if (step == TunnelStep::anotherApplicationSaves) {
        network.addConfiguration(network.ofTunnel(foreignProvider, "Other"));
        network.tellConfigurationChange();
    } else if (!network.configurations().empty()) {
        if (step == TunnelStep::aPersonRemoves) {
            network.removeConfiguration(0);
        } else if (step == TunnelStep::aPersonDisables) {
            auto configuration = network.configurations().at(0);
            configuration.isEnabled = false;
            network.changeConfiguration(0, configuration);
        }
    }
}

std::vector<TunnelStep> anyCourse() {
    const auto numbers = *rc::gen::container<std::vector<int>>(rc::gen::inRange(0, stepCount));
    std::vector<TunnelStep> steps;
    for (const int number : numbers)
        steps.push_back(static_cast<TunnelStep>(number));
    return steps;
}

} // namespace

RC_GTEST_PROP(VPNTunnelServiceProperties, completesEverythingExactlyOnceAndStartsNothingTwice, ()) {
    TunnelCourse course;
    course.create();
    for (const auto step : anyCourse())
        course.perform(step);
    course.dispatch.advance(seconds(60));
    for (int number = 0; number < course.asked; ++number)
        RC_ASSERT(course.completed[number] == 1);
    // A service that is gone reports nothing.
    if (course.isGone)
        RC_ASSERT(course.trace.take().empty());
    RC_ASSERT(course.network.tunnels.needlessStarts == 0);
}

RC_GTEST_PROP(VPNTunnelServiceProperties, losesNoStartThatHasNotSucceeded, ()) {
    TunnelCourse course;
    course.create();
    for (const auto step : anyCourse()) {
        if (step != TunnelStep::destroy)
            course.perform(step);
    }
    // Let everything settle with the last start refused ...
    auto& network = course.network;
    course.perform(TunnelStep::repair);
    course.dispatch.advance(seconds(60));
    if (auto* const tunnel = course.someTunnel())
        tunnel->drop();
    course.dispatch.runUntilIdle();
    course.perform(TunnelStep::failStarts);
    course.perform(TunnelStep::start);
    course.dispatch.advance(seconds(60));
    RC_ASSERT(course.service->connectionStatus.get() == VPNConnectionStatus::error);
    // ... until the user allows it. Then the tunnel starts without another request.
    course.perform(TunnelStep::repair);
    network.allow();
    course.dispatch.advance(seconds(60));
    network.allow(); // a configuration saved only now has to be allowed again
    course.dispatch.advance(seconds(60));
    RC_ASSERT(course.service->connectionStatus.get() == VPNConnectionStatus::connected);
}

RC_GTEST_PROP(VPNTunnelServiceProperties, touchesNoOtherApplicationsConfiguration, ()) {
    TunnelCourse course;
    for (const char* name : {"One", "Two"})
        course.network.addConfiguration(Network::ofTunnel(foreignProvider, name));
    course.create();
    for (const auto step : anyCourse()) {
        if (step != TunnelStep::aPersonRemoves && step != TunnelStep::aPersonDisables &&
            step != TunnelStep::anotherApplicationSaves)
            course.perform(step);
    }
    course.dispatch.advance(seconds(60));
    const auto saved = course.network.configurations();
    RC_ASSERT(saved.size() >= 2u);
    RC_ASSERT(saved[0].localizedDescription == "One");
    RC_ASSERT(saved[1].localizedDescription == "Two");
    for (std::size_t place = 2; place < saved.size(); ++place)
        RC_ASSERT(*saved[place].protocol->providerBundleIdentifier == ourProvider);
}

} // namespace quoxelin::testing
