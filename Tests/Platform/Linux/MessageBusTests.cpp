#include "Platform/Linux/Services/MessageBus.h"
#include "Platform/Linux/Services/ServicePresence.h"
#include "Tests/Platform/Linux/EventLoop.h"
#include "Tests/Platform/Linux/PrivateBus.h"

namespace quoxelin::testing {

namespace {

constexpr auto running = ServicePresence::Counts::running;
constexpr auto runningOrActivatable = ServicePresence::Counts::runningOrActivatable;
const QString service = "com.quoxelin.test.Service";

QDBusMessage empty(const QDBusMessage& call) {
    return call.createReply();
}

void awaitAnswer(const ServicePresence& presence, bool answer) {
    runLoopUntil([&] { return presence.isKnown() && presence.isPresent() == answer; });
}

} // namespace

TEST(MessageBus, isConnectedAtOnceWhereThereIsABus) {
    RunningBus daemon;
    const MessageBus bus(daemon.address());
    EXPECT_TRUE(bus.isConnected());
}

TEST(MessageBus, comesWithTheBusAndGoesWithIt) {
    PrivateBus daemon;
    MessageBus bus(daemon.address());
    int changes = 0;
    const auto observation = bus.observe([&] { ++changes; });
    EXPECT_FALSE(bus.isConnected());
    for (int round = 1; round <= 2; ++round) {
        daemon.start();
        runLoopUntil([&] { return bus.isConnected(); });
        EXPECT_TRUE(bus.connection().isConnected());
        daemon.stop();
        runLoopUntil([&] { return !bus.isConnected(); });
        EXPECT_EQ(changes, 2 * round);
    }
}

TEST(MessageBus, waitsForASocketInADirectoryThatIsNotThereYet) {
    RunningBus daemon;
    const auto socket = daemon.address().mid(QString("unix:path=").size()).toStdString();
    TemporaryDirectory directory;
    const auto deep = directory.path() / "run" / "user";
    MessageBus bus(QString::fromStdString("unix:path=" + (deep / "bus").string() + ";disabled:"));
    EXPECT_FALSE(bus.isConnected());
    std::filesystem::create_directories(deep);
    std::filesystem::create_symlink(socket, deep / "bus");
    runLoopUntil([&] { return bus.isConnected(); });
}

TEST(MessageBus, isAbsentForEverWhereNoAddressNamesOne) {
    for (const char* address : {"", "disabled:", "nonsense", "unix:path=/no/such/socket"})
        EXPECT_FALSE(MessageBus(address).isConnected()) << address;
}

TEST(ServicePresence, isFalseWithoutABus) {
    MessageBus bus("disabled:");
    int changes = 0;
    ServicePresence presence(bus, service, running, [&] { ++changes; });
    EXPECT_FALSE(presence.isKnown());
    awaitAnswer(presence, false);
    EXPECT_EQ(changes, 1);
}

TEST(ServicePresence, followsTheOwnerOfTheName) {
    RunningBus daemon;
    MessageBus bus(daemon.address());
    ServicePresence presence(bus, service, running, [] {});
    awaitAnswer(presence, false);
    FakeService fake(daemon, service, empty);
    awaitAnswer(presence, true);
    fake.disown();
    awaitAnswer(presence, false);
}

TEST(ServicePresence, countsWhatTheBusWouldStart) {
    PrivateBus daemon;
    std::ofstream(daemon.services() / "test.service")
        << "[D-BUS Service]\nName=" << service.toStdString() << "\nExec=/bin/false\n";
    daemon.start();
    MessageBus bus(daemon.address());
    ServicePresence strict(bus, service, running, [] {});
    ServicePresence presence(bus, service, runningOrActivatable, [] {});
    awaitAnswer(presence, true);
    awaitAnswer(strict, false);
}

TEST(ServicePresence, comesBackWithTheBus) {
    PrivateBus daemon;
    MessageBus bus(daemon.address());
    ServicePresence presence(bus, service, running, [] {});
    awaitAnswer(presence, false);
    daemon.start();
    FakeService fake(daemon, service, empty);
    awaitAnswer(presence, true);
    daemon.stop();
    awaitAnswer(presence, false);
}

TEST(ServicePresence, tellsThoseWhoAskedBeforeItWasKnown) {
    RunningBus daemon;
    MessageBus bus(daemon.address());
    ServicePresence presence(bus, service, running, [] {});
    std::vector<bool> told;
    presence.whenKnown([&](bool isPresent) { told.push_back(isPresent); });
    EXPECT_TRUE(told.empty());
    awaitAnswer(presence, false);
    EXPECT_EQ(told, std::vector{false});
    presence.whenKnown([&](bool isPresent) { told.push_back(isPresent); });
    EXPECT_EQ(told, (std::vector{false, false}));
}

} // namespace quoxelin::testing
