#include "Platform/Linux/Services/NetworkManagerClient.h"
#include "Platform/Linux/Services/NetworkManagerNames.h"

namespace quoxelin {

namespace {

using Reply = Result<sd_bus_message*, BusError>;

/// Saved to disk; NetworkManager does not start the connection by itself.
constexpr std::uint32_t toDiskWithoutStart = 0x1 | 0x20;

std::optional<BusError> errorOf(const Reply& reply) {
    return reply ? std::nullopt : std::optional(reply.error());
}

Bus::Writer writing(const VPNProfile& profile) {
    return [&profile](sd_bus_message* call) {
        const int written = writeProfile(call, profile);
        return written < 0 ? written : sd_bus_message_append(call, "ua{sv}", toDiskWithoutStart, 0);
    };
}

Bus::Writer writing(const std::string& path) {
    return [&path](sd_bus_message* call) { return sd_bus_message_append(call, "o", path.c_str()); };
}

std::string readPath(sd_bus_message* message) {
    const char* path = nullptr;
    return sd_bus_message_read(message, "o", &path) > 0 ? path : "";
}

} // namespace

void NetworkManagerClient::add(const VPNProfile& profile, Done done) {
    const std::function<void(const std::string&)> keep =
        lifetime.weakly([this, profile](const std::string& path) {
            if (objects && !objects->profiles.contains(path))
                keepConnection(path, profile);
        });
    bus.request({peer().c_str(), nm::settingsObject, nm::settingsInterface, "AddConnection2"},
                writing(profile), [keep, done = std::move(done)](const Reply& reply) {
                    if (reply)
                        keep(readPath(*reply));
                    done(errorOf(reply));
                });
}

void NetworkManagerClient::update(const VPNProfile& profile, Done done) {
    const auto path = pathOf(profile.uuid);
    const std::function<void()> keep = lifetime.weakly([this, path, profile] {
        if (objects && objects->profiles.contains(path))
            keepConnection(path, profile);
    });
    bus.request({peer().c_str(), path.c_str(), nm::connectionInterface, "Update2"},
                writing(profile), [keep, done = std::move(done)](const Reply& reply) {
                    if (reply)
                        keep();
                    done(errorOf(reply));
                });
}

void NetworkManagerClient::remove(const std::string& uuid, Done done) {
    const auto path = pathOf(uuid);
    const std::function<void()> forget = lifetime.weakly([this, path] {
        if (objects)
            forgetConnection(path);
    });
    bus.request({peer().c_str(), path.c_str(), nm::connectionInterface, "Delete"}, {},
                [forget, done = std::move(done)](const Reply& reply) {
                    if (reply)
                        forget();
                    done(errorOf(reply));
                });
}

void NetworkManagerClient::activate(const std::string& uuid, Activated activated) {
    bus.request(
        {peer().c_str(), nm::mainObject, nm::service, "ActivateConnection"},
        [path = pathOf(uuid)](sd_bus_message* call) {
            return sd_bus_message_append(call, "ooo", path.c_str(), "/", "/");
        },
        [activated = std::move(activated)](const Reply& reply) { activated(reply.map(readPath)); });
}

void NetworkManagerClient::deactivate(const std::string& path, Done done) {
    bus.request({peer().c_str(), nm::mainObject, nm::service, "DeactivateConnection"},
                writing(path),
                [done = std::move(done)](const Reply& reply) { done(errorOf(reply)); });
}

} // namespace quoxelin
