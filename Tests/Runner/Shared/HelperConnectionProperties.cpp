#include "Runner/Shared/AppLogger.h"
#include "Runner/Shared/QuoxelinCLI.h"
#include "Runner/Shared/QuoxelinCommands.h"
#include "Simulation/System/SimulatedSystem.h"
#include "Tests/Support/VirtualDispatch.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace quoxelin::testing {

namespace {

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

    void ping() {
        ask([this](const auto& done) { cli->ping(done); });
    }
    void up() {
        if (cli) {
            cli->up();
            ++ups;
        }
    }
    void commandUp() {
        ask([this](const auto& done) {
            commands->execQuoxelinUp([done](const auto& result) { done(result.has_value()); });
        });
    }
    void commandStatus() {
        ask([this](const auto& done) {
            commands->execQuoxelinStatus([done](const auto& result) {
                // The helper's empty output is not a status.
                done(result.error() == QuoxelinExecError::decodingFailed);
            });
        });
    }
    void setHelper(SimulatedXPC::Helper next) {
        helper = next;
        system.xpc.setHelper(next);
    }
    void endClients() {
        cli.reset();
        commands.reset();
    }

    VirtualDispatch dispatch;
    NotificationCenter notificationCenter;
    SimulatedSystem system{dispatch, notificationCenter};
    std::vector<std::shared_ptr<Asked>> asked;
    std::size_t ups = 0;

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

    SimulatedXPC::Helper helper = SimulatedXPC::Helper::answering;
    AppLogger logger{{dispatch, system.fileManager, system.systemLog}};
    std::optional<QuoxelinCLI> cli{
        QuoxelinCLI::Dependencies{logger, system.xpc, system.mainBundle}};
    std::optional<QuoxelinCommands> commands{
        QuoxelinCommands::Dependencies{system.systemLog, system.xpc, system.mainBundle}};
};

using Helper = SimulatedXPC::Helper;
using HelperStep = void (*)(World&);
const std::vector<HelperStep> everything{
    [](World& world) { world.ping(); },
    [](World& world) { world.up(); },
    [](World& world) { world.commandUp(); },
    [](World& world) { world.commandStatus(); },
    [](World& world) { world.setHelper(Helper::answering); },
    [](World& world) { world.setHelper(Helper::silent); },
    [](World& world) { world.setHelper(Helper::missing); },
    [](World& world) { world.setHelper(Helper::incompatible); },
    [](World& world) { world.system.xpc.killHelper(); },
    [](World& world) { world.system.xpc.invalidateConnections(); },
    [](World& world) { world.dispatch.advance(seconds(0.3)); },
    [](World& world) { world.dispatch.advance(seconds(5)); },
    [](World& world) { world.endClients(); },
};

} // namespace

/// Whatever the helper does, a request is answered at most once. Without a helper it is answered
/// exactly once, at once and negatively; no other answer is negative. An answered request leaves no
/// connection open.
RC_GTEST_PROP(HelperConnectionProperties, neverAnswersTwiceNorLeavesAnAnsweredConnectionOpen, ()) {
    const auto steps = *rc::gen::container<std::vector<std::size_t>>(
        rc::gen::inRange<std::size_t>(0, everything.size()));
    ::testing::internal::CaptureStdout();
    World world;
    for (const auto step : steps)
        everything[step](world);
    world.dispatch.advance(seconds(60));
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
    RC_ASSERT(world.system.xpc.openConnections() <= unanswered + world.ups);
}

} // namespace quoxelin::testing
