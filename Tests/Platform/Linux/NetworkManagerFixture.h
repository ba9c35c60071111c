#pragma once

#include "Platform/Linux/Services/NetworkManagerClient.h"
#include "Tests/Platform/Linux/EventLoop.h"
#include "Tests/Platform/Linux/PrivateBus.h"

#include <QDBusMetaType>

namespace quoxelin::testing {

/// A client of a NetworkManager that answers as the test says.
class NetworkManagerFixture : public ::testing::Test {
  protected:
    using Interfaces = QMap<QString, QVariantMap>;
    using Objects = QMap<QDBusObjectPath, Interfaces>;
    using Texts = QMap<QString, QString>;

    inline static const QString service = "org.freedesktop.NetworkManager";
    inline static const QString mainObject = "/org/freedesktop/NetworkManager";
    inline static const QString activeInterface = service + ".Connection.Active";
    inline static const QString connectionInterface = service + ".Settings.Connection";
    inline static const QString ofObjects = "org.freedesktop.DBus.ObjectManager";
    inline static const QString ofProperties = "org.freedesktop.DBus.Properties";

    static QString connectionPath(int number) {
        return mainObject + QString("/Settings/%1").arg(number);
    }

    static QString activePath(int number) {
        return mainObject + QString("/ActiveConnection/%1").arg(number);
    }

    static QVariantMap active(const QString& uuid, uint state, bool isVPN = true) {
        return {{"Uuid", uuid}, {"State", state}, {"Vpn", isVPN}};
    }

    static QVariant textsOf(const Texts& texts) { return QVariant::fromValue(texts); }

    NetworkManagerFixture() {
        qDBusRegisterMetaType<Interfaces>();
        qDBusRegisterMetaType<Objects>();
        qDBusRegisterMetaType<Texts>();
    }

    /// A VPN connection named after its number.
    void addConnection(int number) {
        const auto name = QString::number(number);
        settings[connectionPath(number)] = {
            {"connection", {{"id", "VPN " + name}, {"uuid", "uuid-" + name}, {"type", "vpn"}}},
            {"vpn", {{"service-type", "provider"}, {"data", textsOf({{"enabled", "yes"}})}}}};
    }

    void startNetworkManager() {
        networkManager = std::make_unique<FakeService>(
            daemon, service, [this](const QDBusMessage& call) { return answer(call); });
    }

    QDBusMessage answer(const QDBusMessage& call) {
        if (silent.contains(call.member()))
            return {};
        if (call.member() == refused)
            return call.createErrorReply(service + ".PermissionDenied", "not for you");
        if (call.member() == "GetManagedObjects") {
            Objects objects = others;
            objects[QDBusObjectPath(mainObject)] = {{service, {{"Startup", isStarting}}}};
            for (const auto& path : settings.keys())
                objects[QDBusObjectPath(path)] = {{connectionInterface, {{"Flags", 0U}}}};
            return call.createReply(QVariant::fromValue(objects));
        }
        if (call.member() == "GetSettings") {
            const auto found = settings.find(call.path());
            if (call.path() == limited)
                return call.createErrorReply(QDBusError::LimitsExceeded, "too many");
            if (found == settings.end() || found->isEmpty())
                return call.createErrorReply(service + ".PermissionDenied", "not for you");
            return call.createReply(QVariant::fromValue(*found));
        }
        if (call.member() == "AddConnection2")
            return call.createReply(
                {QVariant::fromValue(QDBusObjectPath(connectionPath(99))), QVariantMap()});
        if (call.member() == "ActivateConnection")
            return call.createReply(QVariant::fromValue(QDBusObjectPath(activePath(7))));
        return call.createReply(QVariantMap());
    }

    void awaitReady() {
        bool isReady = false;
        client->whenReady([&] { isReady = true; });
        runLoopUntil([&] { return isReady; });
        ASSERT_TRUE(client->isRunning()) << client->problem();
    }

    void startAll() {
        startNetworkManager();
        makeClient();
        awaitReady();
    }

    void makeClient() {
        client = std::make_unique<NetworkManagerClient>(
            bus, [this](const auto& changes) { told.push_back(changes); });
    }

    void signal(const QString& path, const QString& interface, const QString& name,
                const QVariantList& arguments) {
        networkManager->signal(path, interface, name, arguments);
    }

    void changeProperties(const QString& path, const QString& interface,
                          const QVariantMap& properties) {
        signal(path, ofProperties, "PropertiesChanged", {interface, properties, QStringList()});
    }

    void addObject(const QString& path, const QString& interface, const QVariantMap& properties) {
        signal("/org/freedesktop", ofObjects, "InterfacesAdded",
               {QVariant::fromValue(QDBusObjectPath(path)),
                QVariant::fromValue(Interfaces{{interface, properties}})});
    }

    void removeObject(const QString& path) {
        signal("/org/freedesktop", ofObjects, "InterfacesRemoved",
               {QVariant::fromValue(QDBusObjectPath(path)), QStringList()});
    }

    void awaitReport() {
        const auto before = told.size();
        runLoopUntil([&] { return told.size() > before; });
    }

    RunningBus daemon;
    QMap<QString, Interfaces> settings;
    Objects others;
    bool isStarting = false;
    QString refused;
    QString limited;
    QStringList silent;
    std::unique_ptr<FakeService> networkManager;
    ServedBus bus{daemon.address()};
    std::vector<NetworkManagerClient::Changes> told;
    std::unique_ptr<NetworkManagerClient> client;
};

} // namespace quoxelin::testing
