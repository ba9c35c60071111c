#include "Platform/Linux/Services/MessageBus.h"
#include "Platform/Linux/Services/ServicePresence.h"
#include "Tests/Platform/Linux/EventLoop.h"
#include "Tests/Platform/Linux/PrivateBus.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace quoxelin::testing {

namespace {

constexpr auto running = ServicePresence::Counts::running;
constexpr auto runningOrActivatable = ServicePresence::Counts::runningOrActivatable;
const QString service = "com.quoxelin.test.Service";

QDBusMessage empty(const QDBusMessage& call) {
    return call.createReply();
}

/// A socket that takes connections and never answers.
class HungBus {
  public:
    HungBus() {
        sockaddr_un place = {};
        place.sun_family = AF_UNIX;
        socket().string().copy(place.sun_path, sizeof place.sun_path - 1);
        EXPECT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&place), sizeof place), 0);
        EXPECT_EQ(::listen(listener, 8), 0);
    }
    ~HungBus() { ::close(listener); }
    HungBus(const HungBus&) = delete;
    HungBus& operator=(const HungBus&) = delete;

    QString address() const { return QString::fromStdString("unix:path=" + socket().string()); }

    void changeDirectory() const { std::ofstream(directory.path() / "other") << "x"; }

    /// The other is found in its place, from now on.
    void becomes(const PrivateBus& bus) const {
        std::filesystem::remove(socket());
        std::filesystem::create_symlink(
            bus.address().mid(QString("unix:path=").size()).toStdString(), socket());
    }

  private:
    std::filesystem::path socket() const { return directory.path() / "bus"; }

    TemporaryDirectory directory;
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

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

TEST(MessageBus, holdsNobodyUpWhileABusHangs) {
    RunningBus daemon;
    const HungBus hung;
    const auto began = std::chrono::steady_clock::now();
    {
        MessageBus bus(hung.address());
        EXPECT_FALSE(bus.isConnected());
        // It is looked for once more.
        hung.changeDirectory();
        runLoopUntilIdle();
        EXPECT_FALSE(bus.isConnected());
        hung.becomes(daemon);
        runLoopUntil([&] { return bus.isConnected(); });
    }
    // Nor does who gives up.
    const HungBus another;
    EXPECT_FALSE(BusKnock(another.address().toStdString(), [] {}).isAnswered());
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(10));
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
