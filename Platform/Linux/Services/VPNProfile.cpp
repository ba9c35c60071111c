#include "Platform/Linux/Services/VPNProfile.h"

#include "Platform/Linux/Services/Bus.h"
#include "Platform/Linux/Services/BusDictionary.h"

#include <pwd.h>
#include <tuple>
#include <unistd.h>

namespace quoxelin {

namespace {

using Items = decltype(VPNProfile::data);

constexpr const char* serverAddressKey = "server-address";
constexpr const char* disconnectOnSleepKey = "disconnect-on-sleep";
constexpr const char* enabledKey = "enabled";

constexpr const char* section = "a{sv}";

std::string valid(const std::string& text) {
    return busText(text).constData();
}

std::string userName() {
    const passwd* user = ::getpwuid(::getuid());
    return user == nullptr ? "" : user->pw_name;
}

std::optional<std::string> itemOf(const Items& data, const char* key) {
    const auto found = data.find(key);
    return found == data.end() ? std::nullopt : std::optional(found->second);
}

/// Reads a variant with the VPN's data.
bool readItems(sd_bus_message* message, Items& data) {
    if (sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, "a{ss}") <= 0)
        return false;
    forEachEntry(message, 's', "s", [&](const std::string& key) {
        const char* value = nullptr;
        if (sd_bus_message_read(message, "s", &value) <= 0)
            return false;
        data[key] = value;
        return true;
    });
    return sd_bus_message_exit_container(message) >= 0;
}

int writeItems(sd_bus_message* message, const Items& data) {
    sd_bus_message_open_container(message, SD_BUS_TYPE_DICT_ENTRY, "sv");
    sd_bus_message_append(message, "s", "data");
    sd_bus_message_open_container(message, SD_BUS_TYPE_VARIANT, "a{ss}");
    sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "{ss}");
    for (const auto& [key, value] : data)
        sd_bus_message_append(message, "{ss}", key.c_str(), value.c_str());
    sd_bus_message_close_container(message);
    sd_bus_message_close_container(message);
    return sd_bus_message_close_container(message);
}

void setItem(Items& data, const char* key, const std::string& value) {
    if (value.empty())
        data.erase(key);
    else
        data[key] = value;
}

void writeID(sd_bus_message* message, const VPNProfile& profile) {
    sd_bus_message_append(message, "{sv}", "id", "s", profile.id.c_str());
}

void writeVPN(sd_bus_message* message, const VPNProfile& profile) {
    sd_bus_message_append(message, "{sv}", "service-type", "s", profile.service.c_str());
    writeItems(message, profile.data);
}

/// A section of settings. `write` appends its entries.
template <typename Write>
void writeSection(sd_bus_message* message, const std::string& name, const Write& write) {
    sd_bus_message_open_container(message, SD_BUS_TYPE_DICT_ENTRY, "sa{sv}");
    sd_bus_message_append(message, "s", name.c_str());
    sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "{sv}");
    write();
    sd_bus_message_close_container(message);
    sd_bus_message_close_container(message);
}

void writeNew(sd_bus_message* message, const VPNProfile& profile) {
    writeSection(message, "connection", [&] {
        sd_bus_message_append(message, "{sv}", "uuid", "s", profile.uuid.c_str());
        sd_bus_message_append(message, "{sv}", "type", "s", "vpn");
        sd_bus_message_append(message, "{sv}", "autoconnect", "b", 0);
        if (const auto user = userName(); !user.empty())
            sd_bus_message_append(message, "{sv}", "permissions", "as", 1,
                                  ("user:" + user + ":").c_str());
        writeID(message, profile);
    });
    writeSection(message, "vpn", [&] {
        // NetworkManager restores the tunnel when the connection beneath it comes back.
        sd_bus_message_append(message, "{sv}", "persistent", "b", 1);
        writeVPN(message, profile);
    });
}

/// Copies what this program does not know.
void writeChanged(sd_bus_message* message, const VPNProfile& profile) {
    auto* before = profile.settings.get();
    sd_bus_message_rewind(before, 1);
    const auto copy = [&](const std::string& key) {
        sd_bus_message_open_container(message, SD_BUS_TYPE_DICT_ENTRY, "sv");
        sd_bus_message_append(message, "s", key.c_str());
        sd_bus_message_copy(message, before, 0);
        sd_bus_message_close_container(message);
        return true;
    };
    forEachEntry(before, 's', section, [&](const std::string& name) {
        writeSection(message, name, [&] {
            forEachEntry(before, 's', "v", [&](const std::string& key) {
                const bool isKnown = (name == "connection" && key == "id") ||
                                     (name == "vpn" && (key == "service-type" || key == "data"));
                return !isKnown && copy(key);
            });
            if (name == "connection")
                writeID(message, profile);
            if (name == "vpn")
                writeVPN(message, profile);
        });
        return true;
    });
}

} // namespace

VPNConfiguration VPNProfile::configuration() const {
    return {id, itemOf(data, enabledKey) != "no",
            NETunnelProviderProtocol{service, itemOf(data, serverAddressKey),
                                     itemOf(data, disconnectOnSleepKey) == "yes"}};
}

void VPNProfile::set(const VPNConfiguration& configuration) {
    id = valid(configuration.localizedDescription.value_or(""));
    setItem(data, enabledKey, configuration.isEnabled ? "yes" : "no");
    if (const auto& protocol = configuration.protocol) {
        service = valid(protocol->providerBundleIdentifier.value_or(""));
        setItem(data, serverAddressKey, valid(protocol->serverAddress.value_or("")));
        setItem(data, disconnectOnSleepKey, protocol->disconnectOnSleep ? "yes" : "no");
    }
}

bool VPNProfile::isLike(const VPNProfile& other) const {
    return std::tie(uuid, id, service, data) ==
           std::tie(other.uuid, other.id, other.service, other.data);
}

std::optional<VPNProfile> readProfile(sd_bus_message* settings) {
    VPNProfile profile;
    std::string type;
    forEachEntry(settings, 's', section, [&](const std::string& name) {
        if (name != "connection" && name != "vpn")
            return false;
        forEachEntry(settings, 's', "v", [&](const std::string& key) {
            if (name == "vpn")
                return (key == "service-type" && readTextVariant(settings, profile.service)) ||
                       (key == "data" && readItems(settings, profile.data));
            return (key == "type" && readTextVariant(settings, type)) ||
                   (key == "uuid" && readTextVariant(settings, profile.uuid)) ||
                   (key == "id" && readTextVariant(settings, profile.id));
        });
        return true;
    });
    if (type != "vpn")
        return std::nullopt;
    profile.settings = {sd_bus_message_ref(settings), sd_bus_message_unref};
    return profile;
}

int writeProfile(sd_bus_message* message, const VPNProfile& profile) {
    sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY, "{sa{sv}}");
    if (profile.settings)
        writeChanged(message, profile);
    else
        writeNew(message, profile);
    return sd_bus_message_close_container(message);
}

Error vpnError(NEVPNError code, const std::string& description) {
    return {NEVPNErrorDomain, static_cast<int>(code), description};
}

} // namespace quoxelin
