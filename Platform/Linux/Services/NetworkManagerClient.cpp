#include "Platform/Linux/Services/NetworkManagerClient.h"

#include "Platform/Linux/Services/BusDictionary.h"
#include "Platform/Linux/Services/NetworkManagerNames.h"

#include <QTimer>
#include <array>
#include <utility>

namespace quoxelin {

namespace {

constexpr const char* notRunning = "NetworkManager is not running";

/// NetworkManager's names for why an active connection ended, indexed by its numbers.
constexpr std::array reasonNames = {"unknown",
                                    "none",
                                    "user-disconnected",
                                    "device-disconnected",
                                    "service-stopped",
                                    "ip-config-invalid",
                                    "connect-timeout",
                                    "service-start-timeout",
                                    "service-start-failed",
                                    "no-secrets",
                                    "login-failed",
                                    "connection-removed",
                                    "dependency-failed",
                                    "device-realize-failed",
                                    "device-removed"};
constexpr std::uint32_t noReason = 1;
constexpr std::uint32_t userDisconnected = 2;

std::string nameOf(std::uint32_t reason) {
    return reason < reasonNames.size() ? reasonNames[reason] : std::to_string(reason);
}

std::string reasonFor(const BusError& error) {
    const bool isAbsent = error.name == SD_BUS_ERROR_SERVICE_UNKNOWN ||
                          error.name == SD_BUS_ERROR_NAME_HAS_NO_OWNER ||
                          error.name == SD_BUS_ERROR_DISCONNECTED;
    return isAbsent ? notRunning : error.text;
}

/// Whether this user may not see the connection, or it is gone. Other errors say nothing about it.
bool isRefusal(const BusError& error) {
    return error.name.starts_with(nm::service) || error.name == SD_BUS_ERROR_UNKNOWN_OBJECT ||
           error.name == SD_BUS_ERROR_UNKNOWN_METHOD;
}

/// Reads the message's next argument. Empty if it has another type.
std::string nextText(sd_bus_message* message, char type) {
    const char* text = nullptr;
    return sd_bus_message_read_basic(message, type, static_cast<void*>(&text)) > 0 ? text : "";
}

std::string objectOf(sd_bus_message* signal) {
    const char* path = sd_bus_message_get_path(signal);
    return path == nullptr ? "" : path;
}

} // namespace

NetworkManagerClient::NetworkManagerClient(Bus& systemBus,
                                           std::function<void(const Changes&)> changed)
    : bus(systemBus), changed(std::move(changed)), reason(notRunning),
      busObservation(systemBus.observe([this] { busChanged(); })) {
    busChanged();
}

// Presence

void NetworkManagerClient::busChanged() {
    matches.clear();
    forget(notRunning);
    if (bus.isConnected()) {
        follow();
        read();
    }
    update();
}

/// Follows only the signals that matter here: those of the network's devices come all the time.
void NetworkManagerClient::follow() {
    const auto add = [this](const std::string& rule,
                            void (NetworkManagerClient::*handler)(sd_bus_message*)) {
        matches.push_back(bus.match("type='signal'," + rule,
                                    [this, handler](auto* it) { (this->*handler)(it); }));
    };
    add("sender='org.freedesktop.DBus',member='NameOwnerChanged',"
        "arg0='org.freedesktop.NetworkManager'",
        &NetworkManagerClient::ownerChanged);
    const std::string its = "sender='org.freedesktop.NetworkManager',";
    const std::string ofObjects = its + "interface='org.freedesktop.DBus.ObjectManager',member=";
    add(ofObjects + "'InterfacesAdded'", &NetworkManagerClient::objectAdded);
    add(ofObjects + "'InterfacesRemoved'", &NetworkManagerClient::objectRemoved);
    const auto addProperties = [&](const std::string& interface) {
        add(its + "interface='org.freedesktop.DBus.Properties',member='PropertiesChanged',arg0='" +
                interface + "'",
            &NetworkManagerClient::propertiesChanged);
    };
    addProperties(nm::service);
    addProperties(nm::activeInterface);
    add(its + "interface='" + nm::activeInterface + "',member='StateChanged'",
        &NetworkManagerClient::tunnelEnded);
    add(its + "interface='" + nm::connectionInterface + "',member='Updated'",
        &NetworkManagerClient::profileUpdated);
}

void NetworkManagerClient::read() {
    const auto withoutStartingIt = [](sd_bus_message* call) {
        return sd_bus_message_set_auto_start(call, 0);
    };
    objects = std::make_unique<Objects>();
    objects->call =
        bus.call({nm::service, "/org/freedesktop", "org.freedesktop.DBus.ObjectManager",
                  "GetManagedObjects"},
                 withoutStartingIt, [this](const Result<sd_bus_message*, BusError>& reply) {
                     if (!reply) {
                         forget(reasonFor(reply.error()));
                         return update();
                     }
                     objects->owner = senderOf(*reply);
                     forEachEntry(*reply, 'o', "a{sa{sv}}", [&](const std::string& path) {
                         readObject(path, *reply);
                         return true;
                     });
                     update();
                 });
}

void NetworkManagerClient::forget(const std::string& why) {
    reason = why;
    objects.reset();
}

void NetworkManagerClient::ownerChanged(sd_bus_message* signal) {
    if (!isFromTheBus(signal))
        return;
    nextText(signal, 's');
    nextText(signal, 's');
    forget(notRunning);
    if (!nextText(signal, 's').empty())
        read();
    update();
}

void NetworkManagerClient::whenReady(std::function<void()> ready) {
    waiting.push_back(std::move(ready));
    // Any other problem may have been fixed by now.
    if (!objects && reason != notRunning)
        read();
    update();
}

/// Call after any change that may affect presence.
void NetworkManagerClient::update() {
    // NetworkManager reads its connections while it starts. Then we have to read them as well.
    if (objects && objects->isStarting == false && objects->unread.empty() &&
        objects->readings.empty())
        objects->isComplete = true;
    const bool isPresent = isRunning();
    if (wasPresent && *wasPresent != isPresent) {
        wasPresent = isPresent;
        tell({.configurations = isPresent, .tunnels = true, .presence = true, .reasons = {}});
    }
    if (waiting.empty() || (objects && !isPresent))
        return;
    wasPresent = isPresent;
    for (const auto& ready : std::exchange(waiting, {}))
        ready();
}

// Objects

void NetworkManagerClient::objectAdded(sd_bus_message* signal) {
    if (!objects || senderOf(signal) != objects->owner)
        return;
    const auto path = nextText(signal, 'o');
    readObject(path, signal);
    update();
}

void NetworkManagerClient::objectRemoved(sd_bus_message* signal) {
    if (!objects || senderOf(signal) != objects->owner)
        return;
    const auto path = nextText(signal, 'o');
    objects->unread.erase(path);
    objects->readings.erase(path);
    forgetConnection(path);
    readMore();
    if (const auto tunnel = objects->tunnels.extract(path); tunnel && tunnel.mapped().isVPN)
        tunnelsChanged();
    update();
}

void NetworkManagerClient::propertiesChanged(sd_bus_message* signal) {
    if (!objects || senderOf(signal) != objects->owner)
        return;
    const auto path = objectOf(signal);
    const auto interface = nextText(signal, 's');
    if (interface != nm::activeInterface || objects->tunnels.contains(path))
        readProperties(path, interface, signal);
    update();
}

/// Reads all interfaces of an object.
void NetworkManagerClient::readObject(const std::string& path, sd_bus_message* message) {
    forEachEntry(message, 's', "a{sv}", [&](const std::string& interface) {
        if (interface == nm::connectionInterface)
            readConnection(path);
        return readProperties(path, interface, message);
    });
}

/// False if this program does not know the interface.
bool NetworkManagerClient::readProperties(const std::string& path, const std::string& interface,
                                          sd_bus_message* message) {
    if (interface == nm::activeInterface) {
        readTunnel(path, message);
    } else if (interface == nm::service) {
        forEachEntry(message, 's', "v", [&](const std::string& key) {
            int isStarting = 0;
            if (key != "Startup" || sd_bus_message_read(message, "v", "b", &isStarting) <= 0)
                return false;
            objects->isStarting = isStarting != 0;
            return true;
        });
    } else {
        return false;
    }
    return true;
}

void NetworkManagerClient::readTunnel(const std::string& path, sd_bus_message* message) {
    auto& tunnel = objects->tunnels[path];
    tunnel.path = path;
    forEachEntry(message, 's', "v", [&](const std::string& key) {
        if (key == "Uuid")
            return readTextVariant(message, tunnel.uuid);
        int isVPN = 0;
        if (key == "Vpn" && sd_bus_message_read(message, "v", "b", &isVPN) > 0) {
            tunnel.isVPN = isVPN != 0;
            return true;
        }
        std::uint32_t state = 0;
        if (key == "State" && sd_bus_message_read(message, "v", "u", &state) > 0) {
            tunnel.state = static_cast<Tunnel::State>(state);
            return true;
        }
        return false;
    });
    if (tunnel.isVPN)
        tunnelsChanged();
}

void NetworkManagerClient::tunnelEnded(sd_bus_message* signal) {
    if (!objects || senderOf(signal) != objects->owner)
        return;
    const auto found = objects->tunnels.find(objectOf(signal));
    std::uint32_t state = 0;
    std::uint32_t why = 0;
    if (found == objects->tunnels.end() || !found->second.isVPN ||
        sd_bus_message_read(signal, "uu", &state, &why) <= 0 ||
        static_cast<Tunnel::State>(state) != Tunnel::State::deactivated || why == noReason ||
        why == userDisconnected)
        return;
    tell({.configurations = false,
          .tunnels = true,
          .presence = false,
          .reasons = {{found->second.uuid, nameOf(why)}}});
}

void NetworkManagerClient::profileUpdated(sd_bus_message* signal) {
    if (objects && senderOf(signal) == objects->owner)
        readConnection(objectOf(signal));
}

/// Reads a few at a time, because the bus limits the number of unanswered calls per program.
void NetworkManagerClient::readConnection(const std::string& path) {
    objects->readings.erase(path);
    objects->unread.insert(path);
    readMore();
}

void NetworkManagerClient::readMore() {
    constexpr std::size_t mostReadings = 32;
    while (objects && !objects->unread.empty() && objects->readings.size() < mostReadings) {
        const auto next = objects->unread.extract(objects->unread.begin()).value();
        objects->readings[next] =
            bus.call({objects->owner.c_str(), next.c_str(), nm::connectionInterface, "GetSettings"},
                     {}, [this, next](const Result<sd_bus_message*, BusError>& reply) {
                         const auto own = objects->readings.extract(next);
                         settingsAnswered(next, reply);
                     });
    }
}

void NetworkManagerClient::settingsAnswered(const std::string& path,
                                            const Result<sd_bus_message*, BusError>& reply) {
    if (auto profile = reply ? readProfile(*reply) : std::nullopt)
        keepConnection(path, *std::move(profile));
    else if (reply || isRefusal(reply.error()))
        forgetConnection(path);
    else if (!objects->isComplete) // a list without it would look complete
        forget(reasonFor(reply.error()));
    readMore();
    update();
}

/// NetworkManager also reports a change when a connection is only used.
void NetworkManagerClient::keepConnection(const std::string& path, VPNProfile profile) {
    auto& known = objects->profiles[path];
    const auto before = std::exchange(known, std::move(profile));
    if (objects->isComplete && !known.isLike(before))
        configurationsChanged();
}

void NetworkManagerClient::forgetConnection(const std::string& path) {
    if (objects->profiles.erase(path) > 0)
        configurationsChanged();
}

void NetworkManagerClient::configurationsChanged() {
    tell({.configurations = true, .tunnels = false, .presence = false, .reasons = {}});
}

void NetworkManagerClient::tunnelsChanged() {
    tell({.configurations = false, .tunnels = true, .presence = false, .reasons = {}});
}

void NetworkManagerClient::tell(const Changes& changes) {
    untold.configurations |= changes.configurations;
    untold.tunnels |= changes.tunnels;
    untold.presence |= changes.presence;
    untold.reasons.insert(changes.reasons.begin(), changes.reasons.end());
    if (std::exchange(isTelling, true))
        return;
    QTimer::singleShot(0, lifetime.weakly([this] {
        isTelling = false;
        auto due = std::exchange(untold, {});
        // When NetworkManager stops we lose sight of its connections; they have not been deleted.
        due.configurations &= isRunning();
        changed(due);
    }));
}

// What is known

std::vector<std::string> NetworkManagerClient::profiles() const {
    std::vector<std::string> uuids;
    if (!isRunning())
        return uuids;
    for (const auto& [path, profile] : objects->profiles)
        uuids.push_back(profile.uuid);
    return uuids;
}

const VPNProfile* NetworkManagerClient::find(const std::string& uuid) const {
    const auto path = pathOf(uuid);
    return path.empty() ? nullptr : &objects->profiles.at(path);
}

std::string NetworkManagerClient::pathOf(const std::string& uuid) const {
    if (isRunning())
        for (const auto& [path, profile] : objects->profiles)
            if (profile.uuid == uuid)
                return path;
    return "";
}

std::string NetworkManagerClient::peer() const {
    return objects ? objects->owner : nm::service;
}

std::vector<NetworkManagerClient::Tunnel> NetworkManagerClient::tunnels() const {
    std::vector<Tunnel> found;
    if (isRunning())
        for (const auto& [path, tunnel] : objects->tunnels)
            if (tunnel.isVPN)
                found.push_back(tunnel);
    return found;
}

} // namespace quoxelin
