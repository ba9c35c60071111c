#include "Runner/Shared/AppLogger.h"
#include "Runner/Shared/QuoxelinCLI.h"
#include "Runner/Shared/QuoxelinCommands.h"
#include "Simulation/System/SimulatedSystem.h"
#include "Tests/Support/VirtualDispatch.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace quoxelin::testing {

namespace {

enum class Step {
    ping,
    up,
    commandUp,
    commandStatus,
    answering,
    silent,
    missing,
    incompatible,
    kill,
    close,
    shortWhile,
    longWhile,
    endClients
};

/// One request and its outcome.
struct Asked {
    int answers = 0;
    /// Whether a helper was available at the time of the request.
    bool hadHelper = true;
    bool answeredBeforeReturning = false;
    bool saidReachable = false;
};

/// Clients of the helper, and a helper with changing behavior.
class World {
  public:
    World() { system.xpc.setReplyDelay(seconds(1)); }

    void perform(Step step) {
        using Helper = SimulatedXPC::Helper;
        switch (step) {
        case Step::ping:
            return ask([this](const auto& done) {
                if (cli)
                    cli->ping(done);
            });
        case Step::up:
            if (cli)
                cli->up();
            return;
        case Step::commandUp:
            return ask([this](const auto& done) {
                if (commands)
                    commands->execQuoxelinUp(
                        [done](const auto& result) { done(result.has_value()); });
            });
        case Step::commandStatus:
            return ask([this](const auto& done) {
                if (commands)
                    commands->execQuoxelinStatus([done](const auto& result) {
                        // The helper's empty output is not a status.
                        done(result.error() == QuoxelinExecError::decodingFailed);
                    });
            });
        case Step::answering:
            return setHelper(Helper::answering);
        case Step::silent:
            return setHelper(Helper::silent);
        case Step::missing:
            return setHelper(Helper::missing);
        case Step::incompatible:
            return setHelper(Helper::incompatible);
        case Step::kill:
            return system.xpc.killHelper();
        case Step::close:
            return system.xpc.invalidateConnections();
        case Step::shortWhile:
            return dispatch.advance(seconds(0.3));
        case Step::longWhile:
            return dispatch.advance(seconds(5));
        case Step::endClients:
            cli.reset();
            commands.reset();
            return;
        }
    }

    void settle() { dispatch.advance(seconds(60)); }

    VirtualDispatch dispatch;
    NotificationCenter notificationCenter;
    SimulatedSystem system{dispatch, notificationCenter};
    std::vector<std::shared_ptr<Asked>> asked;

  private:
    void ask(const std::function<void(const std::function<void(bool)>&)>& request) {
        if (!cli)
            return;
        const auto one = std::make_shared<Asked>();
        one->hadHelper = helper != SimulatedXPC::Helper::incompatible;
        asked.push_back(one);
        request([one](bool reachable) {
            ++one->answers;
            one->saidReachable = reachable;
        });
        one->answeredBeforeReturning = one->answers == 1;
    }

    void setHelper(SimulatedXPC::Helper next) {
        helper = next;
        system.xpc.setHelper(next);
    }

    SimulatedXPC::Helper helper = SimulatedXPC::Helper::answering;
    AppLogger logger{{dispatch, system.fileManager, system.systemLog}};
    std::optional<QuoxelinCLI> cli{
        QuoxelinCLI::Dependencies{logger, system.xpc, system.mainBundle}};
    std::optional<QuoxelinCommands> commands{
        QuoxelinCommands::Dependencies{system.systemLog, system.xpc, system.mainBundle}};
};

} // namespace

/// Whatever the helper does, a request is answered at most once. Without a helper it is answered
/// exactly once, at once and negatively; no other answer is negative. An answered request leaves no
/// connection open.
RC_GTEST_PROP(HelperConnectionProperties, neverAnswersTwiceNorLeavesAnAnsweredConnectionOpen, ()) {
    const auto steps = *rc::gen::container<std::vector<Step>>(
        rc::gen::map(rc::gen::inRange(0, static_cast<int>(Step::endClients) + 1),
                     [](int step) { return static_cast<Step>(step); }));
    ::testing::internal::CaptureStdout();
    World world;
    for (const auto step : steps)
        world.perform(step);
    world.settle();
    ::testing::internal::GetCapturedStdout();

    std::size_t unanswered = 0;
    for (const auto& one : world.asked) {
        RC_ASSERT(one->answers <= 1);
        RC_ASSERT(one->answeredBeforeReturning == !one->hadHelper);
        if (one->answers == 1)
            RC_ASSERT(one->saidReachable == one->hadHelper);
        else
            ++unanswered;
    }
    const auto ups = static_cast<std::size_t>(std::count(steps.begin(), steps.end(), Step::up));
    RC_ASSERT(world.system.xpc.openConnections() <= unanswered + ups);
}

} // namespace quoxelin::testing
