#pragma once

#include "Platform/Linux/Services/Bus.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QStandardPaths>
#include <functional>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace quoxelin::testing {

/// A private message bus for a test, with its own configuration and no services. Before `start`,
/// files in `services()` can make services activatable.
class PrivateBus {
  public:
    PrivateBus() {
        std::filesystem::create_directory(services());
        std::ofstream(directory.path() / "bus.conf")
            << "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\""
               " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
               "<busconfig><type>session</type><listen>"
            << address().toStdString() << "</listen><servicedir>" << services().string()
            << "</servicedir><policy context=\"default\"><allow send_destination=\"*\"/>"
               "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n";
    }
    ~PrivateBus() {
        for (const auto& name : names)
            QDBusConnection::disconnectFromBus(name);
        stop();
    }

    /// The bus's address, even while it is not running.
    QString address() const {
        return QString::fromStdString("unix:path=" + (directory.path() / "bus").string());
    }

    std::filesystem::path services() const { return directory.path() / "services"; }

    /// Returns when clients can connect.
    void start() {
        daemon.start(
            "dbus-daemon",
            {"--nofork", "--nopidfile", "--print-address=1",
             QString::fromStdString("--config-file=" + (directory.path() / "bus.conf").string())});
        while (daemon.state() != QProcess::NotRunning && !daemon.canReadLine())
            daemon.waitForReadyRead(10000);
        ASSERT_TRUE(daemon.canReadLine()) << "dbus-daemon did not start";
        daemon.readLine();
    }

    void stop() {
        daemon.kill();
        daemon.waitForFinished(10000);
        std::filesystem::remove(directory.path() / "bus");
    }

    /// Another connection; it ends with the bus.
    QDBusConnection connect() {
        static int count = 0;
        names.push_back(QStringLiteral("private-bus-%1").arg(++count));
        return QDBusConnection::connectToBus(address(), names.back());
    }

    /// Sends a signal directly to the receiver, from a connection that owns no well-known name.
    /// Returns after the bus has forwarded it.
    void forge(const Bus& receiver, const QString& path, const QString& interface,
               const QString& member, const QVariantList& arguments) {
        auto stranger = connect();
        auto signal = QDBusMessage::createTargetedSignal(
            QString::fromStdString(receiver.uniqueName()), path, interface, member);
        signal.setArguments(arguments);
        stranger.send(signal);
        stranger.interface()->isServiceRegistered(stranger.baseService());
    }

  private:
    TemporaryDirectory directory;
    QProcess daemon;
    std::vector<QString> names;
};

/// A private bus that runs from the start.
class RunningBus final : public PrivateBus {
  public:
    RunningBus() { start(); }
};

/// A socket that accepts connections and never answers.
class HungBus {
  public:
    HungBus() {
        sockaddr_un place = {};
        place.sun_family = AF_UNIX;
        path().string().copy(place.sun_path, sizeof place.sun_path - 1);
        EXPECT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&place), sizeof place), 0);
        EXPECT_EQ(::listen(listener, 64), 0);
    }
    ~HungBus() { ::close(listener); }
    HungBus(const HungBus&) = delete;
    HungBus& operator=(const HungBus&) = delete;

    std::string address() const { return "unix:path=" + path().string(); }

  private:
    std::filesystem::path path() const { return directory.path() / "bus"; }

    TemporaryDirectory directory;
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

/// The number of threads and descriptors of this process.
struct Resources {
    static std::size_t entriesOf(const char* directory) {
        const std::filesystem::directory_iterator begin(directory), end;
        return static_cast<std::size_t>(std::distance(begin, end));
    }
    std::size_t threads = entriesOf("/proc/self/task"), descriptors = entriesOf("/proc/self/fd");
    bool operator==(const Resources&) const = default;
};

/// The program's own bus connection, served by the event loop.
class ServedBus final : public Bus {
  public:
    explicit ServedBus(const QString& address) : Bus(address.toStdString()) {
        serveUntil([this] { return isConnected(); }, std::chrono::seconds(10));
        serve();
    }
};

/// A service on a private bus. It keeps every call to any of its objects and answers as the test
/// says, in the thread that created it.
class FakeService final : public QDBusVirtualObject {
  public:
    /// Sends no answer if the function returns an invalid message.
    using Answer = std::function<QDBusMessage(const QDBusMessage& call)>;

    FakeService(PrivateBus& bus, const QString& name, Answer answer)
        : connection(bus.connect()), name(name), answer(std::move(answer)) {
        connection.registerVirtualObject("/", this, QDBusConnection::SubPath);
        own();
    }
    ~FakeService() override { QDBusConnection::disconnectFromBus(connection.name()); }

    void own() { ASSERT_TRUE(connection.registerService(name)); }
    void disown() { connection.unregisterService(name); }

    void signal(const QString& path, const QString& interface, const QString& member,
                const QVariantList& arguments) {
        auto message = QDBusMessage::createSignal(path, interface, member);
        message.setArguments(arguments);
        connection.send(message);
    }

    std::vector<QDBusMessage> calls(const QString& member) const {
        std::vector<QDBusMessage> found;
        for (const auto& call : received)
            if (call.member() == member)
                found.push_back(call);
        return found;
    }

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& call, const QDBusConnection& caller) override {
        received.push_back(call);
        const auto reply = answer(call);
        if (reply.type() != QDBusMessage::InvalidMessage)
            caller.send(reply);
        return true;
    }

  private:
    QDBusConnection connection;
    QString name;
    Answer answer;
    std::vector<QDBusMessage> received;
};

} // namespace quoxelin::testing
