#include "Tests/Runner/Services/VPN/VPNTunnelServiceFixture.h"

#include <rapidcheck/gtest.h>

namespace quoxelin::testing {

namespace {

using Network = SimulatedNetworkExtension;

/// Events that can happen to the tunnel service, in any order.
enum class Step {
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
constexpr int stepCount = static_cast<int>(Step::destroy) + 1;

/// A service on a simulated system, and its pending completions.
struct AnyCourse : TunnelUnderTest {
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

    void perform(Step step) {
        if (!isGone)
            performOnService(step);
        performOnSystem(step);
        RC_ASSERT(network.tunnels.needlessStarts == 0);
    }

    void performOnService(Step step) {
        auto& queue = dispatch.global(QualityOfService::standard);
        if (step == Step::start)
            service->start();
        else if (step == Step::stop)
            service->stop();
        else if (step == Step::ensureSaved)
            service->ensureConfigurationSaved(owed());
        else if (step == Step::remove)
            service->removeConfiguration(owed());
        else if (step == Step::startFromAnotherThread)
            callFrom(queue, [this] { service->start(); });
        else if (step == Step::ensureSavedFromAnotherThread)
            callFrom(queue, [this, done = owed()] { service->ensureConfigurationSaved(done); });
        else if (step == Step::destroy)
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

    void performOnSystem(Step step);
    void performOnTunnel(Step step);
    void performOnPreferences(Step step);
};

void AnyCourse::performOnSystem(Step step) {
    static const Error failure{"NEVPNErrorDomain", 5, "no"};
    using Operation = Network::Operation;
    if (step == Step::failLoadAll)
        network.errors[Operation::loadAll] = failure;
    else if (step == Step::failLoad)
        network.errors[Operation::load] = failure;
    else if (step == Step::failSave)
        network.errors[Operation::save] = failure;
    else if (step == Step::failRemove)
        network.errors[Operation::remove] = failure;
    else if (step == Step::answerBeforeReturning)
        network.answers = Network::Answers::beforeReturning;
    else if (step == Step::answerOnMainThread)
        network.answers = Network::Answers::onMainThread;
    else if (step == Step::answerOnAnotherThread)
        network.answers = Network::Answers::onAnotherThread;
    else if (step == Step::answerLate)
        network.answerDelay = seconds(0.75);
    else if (step == Step::answerSoon)
        network.answerDelay = Duration::zero();
    else if (step == Step::takeATurn)
        dispatch.runUntilIdle();
    else if (step == Step::waitShortly)
        dispatch.advance(seconds(0.4));
    else if (step == Step::waitLong)
        dispatch.advance(seconds(10));
    performOnTunnel(step);
    performOnPreferences(step);
}

void AnyCourse::performOnTunnel(Step step) {
    static const Error refused{"NEVPNErrorDomain", 2, "no"};
    if (step == Step::failStarts) {
        network.tunnels.startError = refused;
    } else if (step == Step::letTunnelsFail) {
        network.tunnels.comeUp = false;
    } else if (step == Step::takeConnectionsAway) {
        network.hasConnections = false;
    } else if (step == Step::repair) {
        network.errors.clear();
        network.tunnels.startError.reset();
        network.tunnels.comeUp = true;
        network.hasConnections = true;
    } else if (auto* const tunnel = someTunnel()) {
        if (step == Step::dropTunnel)
            tunnel->drop();
        else if (step == Step::reassertTunnel)
            tunnel->reassert(seconds(1));
        else if (step == Step::reportUnknownStatus)
            tunnel->report(99);
    }
}

void AnyCourse::performOnPreferences(Step step) {
    if (step == Step::requireApproval) {
        network.requireApproval();
    } else if (step == Step::allow) {
        network.allow();
    } else if (step == Step::decline) {
        network.decline();
    } else if (step == Step::handOutCopies) {
        network.sharesProtocols = false;
    } else if (step == Step::changeNothingButTell) {
        network.tellConfigurationChange();
    } else if (step == Step::anotherApplicationSaves) {
        network.addConfiguration(network.ofTunnel(foreignProvider, "Other"));
        network.tellConfigurationChange();
    } else if (!network.configurations().empty()) {
        if (step == Step::aPersonRemoves) {
            network.removeConfiguration(0);
        } else if (step == Step::aPersonDisables) {
            auto configuration = network.configurations().at(0);
            configuration.isEnabled = false;
            network.changeConfiguration(0, configuration);
        }
    }
}

std::vector<Step> anyCourse() {
    const auto numbers = *rc::gen::container<std::vector<int>>(rc::gen::inRange(0, stepCount));
    std::vector<Step> steps;
    for (const int number : numbers)
        steps.push_back(static_cast<Step>(number));
    return steps;
}

} // namespace

RC_GTEST_PROP(VPNTunnelServiceProperties, completesEverythingExactlyOnceAndStartsNothingTwice, ()) {
    AnyCourse course;
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
    AnyCourse course;
    course.create();
    for (const auto step : anyCourse()) {
        if (step != Step::destroy)
            course.perform(step);
    }
    // Let everything settle with the last start refused ...
    auto& network = course.network;
    course.perform(Step::repair);
    course.dispatch.advance(seconds(60));
    if (auto* const tunnel = course.someTunnel())
        tunnel->drop();
    course.dispatch.runUntilIdle();
    course.perform(Step::failStarts);
    course.perform(Step::start);
    course.dispatch.advance(seconds(60));
    RC_ASSERT(course.service->connectionStatus.get() == VPNConnectionStatus::error);
    // ... until the user allows it. Then the tunnel starts without another request.
    course.perform(Step::repair);
    network.allow();
    course.dispatch.advance(seconds(60));
    network.allow(); // a configuration saved only now has to be allowed again
    course.dispatch.advance(seconds(60));
    RC_ASSERT(course.service->connectionStatus.get() == VPNConnectionStatus::connected);
}

RC_GTEST_PROP(VPNTunnelServiceProperties, touchesNoOtherApplicationsConfiguration, ()) {
    AnyCourse course;
    for (const char* name : {"One", "Two"})
        course.network.addConfiguration(Network::ofTunnel(foreignProvider, name));
    course.create();
    for (const auto step : anyCourse()) {
        if (step != Step::aPersonRemoves && step != Step::aPersonDisables &&
            step != Step::anotherApplicationSaves)
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
