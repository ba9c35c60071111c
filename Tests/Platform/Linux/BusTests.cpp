#include "Platform/Linux/Services/ServicePresence.h"
#include "Tests/Platform/Linux/EventLoop.h"
#include "Tests/Platform/Linux/PrivateBus.h"

namespace quoxelin::testing {

namespace {

constexpr auto running = ServicePresence::Counts::running;
constexpr auto runningOrActivatable = ServicePresence::Counts::runningOrActivatable;
constexpr const char* service = "com.quoxelin.test.Service";

QDBusMessage empty(const QDBusMessage& call) {
    return call.createReply();
}

void awaitAnswer(const ServicePresence& presence, bool answer) {
    runLoopUntil([&] { return presence.isPresent() == answer; });
}

} // namespace

TEST(Bus, isConnectedAfterTheHandshake) {
    RunningBus daemon;
    Bus bus(daemon.address().toStdString());
    EXPECT_FALSE(bus.isConnected());
    bus.serve();
    runLoopUntil([&] { return bus.isConnected(); });
    EXPECT_TRUE(bus.uniqueName().starts_with(":"));
}

TEST(Bus, appearsAndDisappearsWithTheBus) {
    PrivateBus daemon;
    ServedBus bus(daemon.address());
    int changes = 0;
    const auto observation = bus.observe([&] { ++changes; });
    EXPECT_FALSE(bus.isConnected());
    for (int round = 1; round <= 2; ++round) {
        daemon.start();
        runLoopUntil([&] { return bus.isConnected(); });
        daemon.stop();
        runLoopUntil([&] { return !bus.isConnected(); });
        EXPECT_EQ(changes, 2 * round);
    }
}

TEST(Bus, waitsForASocketInADirectoryThatIsNotThereYet) {
    RunningBus daemon;
    const auto socket = daemon.address().mid(QString("unix:path=").size()).toStdString();
    TemporaryDirectory directory;
    const auto deep = directory.path() / "run" / "user";
    ServedBus bus(QString::fromStdString("unix:path=" + (deep / "bus").string() + ";disabled:"));
    EXPECT_FALSE(bus.isConnected());
    std::filesystem::create_directories(deep);
    std::filesystem::create_symlink(socket, deep / "bus");
    runLoopUntil([&] { return bus.isConnected(); });
}

TEST(Bus, isAbsentForeverWithoutAnAddress) {
    for (const char* address : {"", "disabled:", "nonsense", "unix:path=/no/such/socket"}) {
        ServedBus bus(address);
        runLoopUntilIdle();
        EXPECT_FALSE(bus.isConnected()) << address;
    }
}

TEST(Bus, failsACallWithoutABusFromTheLoop) {
    ServedBus bus("disabled:");
    std::optional<BusError> told;
    const auto call =
        bus.call(busMethod("ListNames"), nullptr, [&](const auto& reply) { told = reply.error(); });
    EXPECT_FALSE(told);
    runLoopUntil([&] { return told.has_value(); });
    EXPECT_EQ(told->name, SD_BUS_ERROR_DISCONNECTED);
}

TEST(Bus, doesNotAnswerACanceledCall) {
    RunningBus daemon;
    ServedBus bus(daemon.address());
    int answers = 0;
    bus.call(busMethod("ListNames"), nullptr, [&](const auto&) { answers += 100; }).cancel();
    Subscription call;
    call = bus.call(busMethod("ListNames"), nullptr, [&](const auto&) {
        ++answers;
        call.cancel();
    });
    runLoopUntil([&] { return answers > 0; });
    EXPECT_EQ(answers, 1);
}

TEST(Bus, failsACallAtItsDeadline) {
    RunningBus daemon;
    FakeService silent(daemon, service, [](const auto&) { return QDBusMessage(); });
    ServedBus bus(daemon.address());
    std::optional<BusError> told;
    const auto call = bus.call(
        {service, "/", "a.b", "C"}, nullptr, [&](const auto& reply) { told = reply.error(); },
        std::chrono::milliseconds(1));
    runLoopUntil([&] { return told.has_value(); });
    EXPECT_EQ(told->name, SD_BUS_ERROR_NO_REPLY);
}

TEST(Bus, answersARequestWithoutABusFromTheLoop) {
    Bus bus("unix:path=/no/such/bus");
    bus.serve();
    std::string why;
    bus.request(busMethod("GetId"), {}, [&](const auto& reply) { why = reply.error().name; });
    EXPECT_EQ(why, "");
    runLoopUntil([&] { return !why.empty(); });
    EXPECT_EQ(why, SD_BUS_ERROR_DISCONNECTED);
}

TEST(Bus, answersARequestAndThoseThatItsAnswerMakes) {
    RunningBus daemon;
    ServedBus bus(daemon.address());
    std::vector<bool> answers;
    bus.request(busMethod("GetId"), {}, [&](const auto& first) {
        answers.push_back(first.has_value());
        bus.request(busMethod("GetId"), {},
                    [&](const auto& second) { answers.push_back(second.has_value()); });
    });
    runLoopUntil([&] { return answers.size() == 2; });
    EXPECT_EQ(answers, (std::vector{true, true}));
}

TEST(ServicePresence, isFalseWithoutABus) {
    ServedBus bus("disabled:");
    ServicePresence presence(bus, service, running, [] { ADD_FAILURE(); });
    std::optional<bool> told;
    presence.whenKnown([&](bool isPresent) { told = isPresent; });
    EXPECT_EQ(told, false);
}

TEST(ServicePresence, followsTheOwnerOfTheName) {
    RunningBus daemon;
    ServedBus bus(daemon.address());
    ServicePresence presence(bus, service, running, [] {});
    awaitAnswer(presence, false);
    FakeService fake(daemon, service, empty);
    awaitAnswer(presence, true);
    fake.disown();
    awaitAnswer(presence, false);
}

TEST(ServicePresence, countsServicesThatTheBusWouldStart) {
    PrivateBus daemon;
    std::ofstream(daemon.services() / "test.service")
        << "[D-BUS Service]\nName=" << service << "\nExec=/bin/false\n";
    daemon.start();
    ServedBus bus(daemon.address());
    ServicePresence strict(bus, service, running, [] {});
    ServicePresence presence(bus, service, runningOrActivatable, [] {});
    awaitAnswer(presence, true);
    awaitAnswer(strict, false);
}

TEST(ServicePresence, comesBackWithTheBus) {
    PrivateBus daemon;
    ServedBus bus(daemon.address());
    ServicePresence presence(bus, service, running, [] {});
    awaitAnswer(presence, false);
    daemon.start();
    FakeService fake(daemon, service, empty);
    awaitAnswer(presence, true);
    daemon.stop();
    awaitAnswer(presence, false);
}

TEST(ServicePresence, notifiesEarlierObserversOnceItIsKnown) {
    RunningBus daemon;
    ServedBus bus(daemon.address());
    ServicePresence presence(bus, service, running, [] {});
    std::vector<bool> told;
    presence.whenKnown([&](bool isPresent) { told.push_back(isPresent); });
    EXPECT_TRUE(told.empty());
    runLoopUntil([&] { return !told.empty(); });
    EXPECT_EQ(told, std::vector{false});
    presence.whenKnown([&](bool isPresent) { told.push_back(isPresent); });
    EXPECT_EQ(told, (std::vector{false, false}));
}

} // namespace quoxelin::testing
