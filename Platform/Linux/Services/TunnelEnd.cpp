#include "Platform/Linux/Services/TunnelEnd.h"

#include "Platform/Linux/Services/Bus.h"
#include "Platform/Linux/Services/NetworkManagerNames.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <thread>
#include <unistd.h>

namespace quoxelin {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds patienceOfTheProcessLeft{60};

struct Unref {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Connection = std::unique_ptr<sd_bus, Unref>;

/// Null without a bus.
Connection connectTo(const std::string& address) {
    sd_bus* made = nullptr;
    sd_bus_new(&made);
    Connection bus(made);
    if (sd_bus_set_address(made, address.c_str()) < 0 || sd_bus_set_bus_client(made, 1) < 0 ||
        sd_bus_start(made) < 0)
        return nullptr;
    return bus;
}

/// Empty if NetworkManager is not there, because its tunnels end with it. Absent if it does not
/// answer.
std::optional<std::vector<std::string>> activeConnections(sd_bus* bus) {
    sd_bus_error error = {};
    sd_bus_message* reply = nullptr;
    sd_bus_get_property(bus, nm::service, nm::mainObject, nm::service, "ActiveConnections", &error,
                        &reply, "ao");
    const bool isGone = sd_bus_error_has_name(&error, SD_BUS_ERROR_SERVICE_UNKNOWN) > 0;
    sd_bus_error_free(&error);
    const std::unique_ptr<sd_bus_message, Unref> owned(reply);
    std::vector<std::string> paths;
    if (isGone)
        return paths;
    if (reply == nullptr || sd_bus_message_enter_container(reply, SD_BUS_TYPE_ARRAY, "o") < 0)
        return std::nullopt;
    const char* path = nullptr;
    while (sd_bus_message_read(reply, "o", &path) > 0)
        paths.emplace_back(path);
    return paths;
}

std::string uuidOf(sd_bus* bus, const std::string& path) {
    char* text = nullptr;
    sd_bus_get_property_string(bus, nm::service, path.c_str(), nm::activeInterface, "Uuid", nullptr,
                               &text);
    const std::unique_ptr<char, decltype(&std::free)> owned(text, &std::free);
    return text == nullptr ? "" : text;
}

/// NetworkManager still tries to bring it up, or keeps it up.
bool isWanted(sd_bus* bus, const std::string& path) {
    constexpr std::uint32_t deactivating = 3;
    std::uint32_t state = 0;
    sd_bus_get_property_trivial(bus, nm::service, path.c_str(), nm::activeInterface, "State",
                                nullptr, 'u', &state);
    return state < deactivating;
}

bool deactivate(sd_bus* bus, const std::string& path) {
    return sd_bus_call_method(bus, nm::service, nm::mainObject, nm::service, "DeactivateConnection",
                              nullptr, nullptr, "o", path.c_str()) >= 0;
}

/// Stops what is active, and removes from the list what can no longer start.
void stopOnce(sd_bus* bus, std::vector<EndingTunnel>& tunnels) {
    const auto paths = activeConnections(bus);
    if (!paths)
        return;
    std::vector<std::string> remaining;
    for (const auto& path : *paths) {
        const auto uuid = uuidOf(bus, path);
        const auto isOurs = [&](const auto& one) { return one.uuid == uuid; };
        if (std::none_of(tunnels.begin(), tunnels.end(), isOurs))
            continue;
        if (isWanted(bus, path) && !deactivate(bus, path))
            remaining.push_back(uuid);
        else
            for (auto& one : tunnels)
                one.mayStillStart &= one.uuid != uuid;
    }
    std::erase_if(tunnels, [&](const auto& one) {
        return !one.mayStillStart &&
               std::find(remaining.begin(), remaining.end(), one.uuid) == remaining.end();
    });
}

/// What is left when the time is over, or `isOver` says so.
void stopUntil(Clock::time_point end, std::vector<EndingTunnel>& tunnels,
               const std::string& systemBus, std::chrono::milliseconds pause,
               const std::function<bool()>& isOver) {
    Connection bus;
    while (!tunnels.empty() && Clock::now() < end && !isOver()) {
        if (!bus || sd_bus_is_open(bus.get()) <= 0)
            bus = connectTo(systemBus);
        if (bus) {
            const auto left = std::chrono::ceil<std::chrono::microseconds>(end - Clock::now());
            sd_bus_set_method_call_timeout(
                bus.get(), static_cast<std::uint64_t>(std::max<std::int64_t>(1, left.count())));
            stopOnce(bus.get(), tunnels);
        }
        if (!tunnels.empty())
            std::this_thread::sleep_for(pause);
    }
}

/// Whether an application has started since, whose tunnels these may be.
bool isApplicationRunning() {
    const auto bus = connectTo(Bus::sessionAddress());
    sd_bus_message* reply = nullptr;
    int isOwned = 0;
    if (bus && sd_bus_call_method(bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                  "org.freedesktop.DBus", "NameHasOwner", nullptr, &reply, "s",
                                  "com.quoxelin.desktop") >= 0)
        sd_bus_message_read(reply, "b", &isOwned);
    sd_bus_message_unref(reply);
    return isOwned != 0;
}

/// The process must keep none of the application's connections open: its names on the buses have to
/// go with it.
void letGoOfTheApplication() {
    setsid();
    close_range(0, ~0U, 0);
    for (const int mode : {O_RDONLY, O_WRONLY, O_WRONLY})
        open("/dev/null", mode);
}

} // namespace

void endTunnels(std::vector<EndingTunnel> tunnels, const std::string& systemBus,
                std::chrono::milliseconds longest) {
    using std::chrono::milliseconds;
    stopUntil(Clock::now() + longest, tunnels, systemBus, milliseconds(5), [] { return false; });
    if (tunnels.empty() || fork() != 0)
        return;
    letGoOfTheApplication();
    stopUntil(Clock::now() + patienceOfTheProcessLeft, tunnels, systemBus, milliseconds(200),
              isApplicationRunning);
    std::_Exit(0);
}

} // namespace quoxelin
