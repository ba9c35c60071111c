#include "Platform/Linux/Services/VPNProfile.h"

#include "Platform/Linux/Services/GLib.h"
#include "Platform/Linux/Services/LibNM.h"

namespace quoxelin {

namespace {

constexpr const char* serverAddressKey = "server-address";
constexpr const char* disconnectOnSleepKey = "disconnect-on-sleep";
constexpr const char* enabledKey = "enabled";

std::optional<std::string> toOptional(const char* text) {
    if (text == nullptr)
        return std::nullopt;
    return text;
}

/// D-Bus accepts only valid UTF-8.
std::string valid(const std::string& text) {
    const GText made(g_utf8_make_valid(text.c_str(), static_cast<gssize>(text.size())));
    return made.get();
}

void setItem(NMSettingVpn* vpn, const char* key, const std::optional<std::string>& value) {
    if (value && !value->empty())
        nm_setting_vpn_add_data_item(vpn, key, valid(*value).c_str());
    else
        nm_setting_vpn_remove_data_item(vpn, key);
}

bool says(NMSettingVpn* vpn, const char* key, const char* value) {
    return g_strcmp0(nm_setting_vpn_get_data_item(vpn, key), value) == 0;
}

} // namespace

VPNConfiguration configurationOf(NMConnection* connection) {
    VPNConfiguration result{.localizedDescription = toOptional(nm_connection_get_id(connection)),
                            .isEnabled = false,
                            .protocol = std::nullopt};
    auto* vpn = nm_connection_get_setting_vpn(connection);
    if (vpn == nullptr)
        return result;
    result.isEnabled = !says(vpn, enabledKey, "no");
    result.protocol = {toOptional(nm_setting_vpn_get_service_type(vpn)),
                       toOptional(nm_setting_vpn_get_data_item(vpn, serverAddressKey)),
                       says(vpn, disconnectOnSleepKey, "yes")};
    return result;
}

void write(const VPNConfiguration& configuration, NMConnection* connection) {
    auto* general = nm_connection_get_setting_connection(connection);
    auto* vpn = nm_connection_get_setting_vpn(connection);
    if (general == nullptr || vpn == nullptr)
        return;
    g_object_set(general, NM_SETTING_CONNECTION_ID,
                 valid(configuration.localizedDescription.value_or("")).c_str(), nullptr);
    setItem(vpn, enabledKey, configuration.isEnabled ? "yes" : "no");
    if (const auto& protocol = configuration.protocol) {
        setItem(vpn, serverAddressKey, protocol->serverAddress);
        setItem(vpn, disconnectOnSleepKey, protocol->disconnectOnSleep ? "yes" : "no");
        g_object_set(vpn, NM_SETTING_VPN_SERVICE_TYPE,
                     valid(protocol->providerBundleIdentifier.value_or("")).c_str(), nullptr);
    }
}

Error vpnError(NEVPNError code, const std::string& description) {
    return {NEVPNErrorDomain, static_cast<int>(code), description};
}

} // namespace quoxelin
