#pragma once

#include <NetworkManager.h>
#include <string>

namespace quoxelin {

// NetworkManager's library. The program loads it while it runs, because it takes longer to load
// than the rest of the program, and the icon does without it.

/// Call before the library's functions. Empty if they can be called, otherwise the reason. Another
/// call tries again. Main thread only.
std::string loadLibNM();

// In this namespace these names stand for the library's functions, which thus look as usual.
// clang-format off
#define QUOXELIN_FUNCTIONS_OF_LIBNM(use) \
    use(nm_active_connection_get_state) \
    use(nm_active_connection_get_uuid) \
    use(nm_active_connection_get_vpn) \
    use(nm_active_connection_state_reason_get_type) \
    use(nm_client_activate_connection_async) \
    use(nm_client_activate_connection_finish) \
    use(nm_client_add_connection2) \
    use(nm_client_add_connection2_finish) \
    use(nm_client_deactivate_connection_async) \
    use(nm_client_deactivate_connection_finish) \
    use(nm_client_get_active_connections) \
    use(nm_client_get_connection_by_uuid) \
    use(nm_client_get_connections) \
    use(nm_client_get_nm_running) \
    use(nm_client_get_startup) \
    use(nm_client_get_type) \
    use(nm_client_get_version) \
    use(nm_connection_add_setting) \
    use(nm_connection_compare) \
    use(nm_connection_get_id) \
    use(nm_connection_get_setting_connection) \
    use(nm_connection_get_setting_vpn) \
    use(nm_connection_get_type) \
    use(nm_connection_get_uuid) \
    use(nm_connection_is_type) \
    use(nm_connection_replace_settings_from_connection) \
    use(nm_connection_to_dbus) \
    use(nm_remote_connection_delete_async) \
    use(nm_remote_connection_delete_finish) \
    use(nm_remote_connection_get_type) \
    use(nm_remote_connection_update2) \
    use(nm_remote_connection_update2_finish) \
    use(nm_setting_connection_add_permission) \
    use(nm_setting_connection_get_type) \
    use(nm_setting_connection_new) \
    use(nm_setting_vpn_add_data_item) \
    use(nm_setting_vpn_get_data_item) \
    use(nm_setting_vpn_get_service_type) \
    use(nm_setting_vpn_get_type) \
    use(nm_setting_vpn_new) \
    use(nm_setting_vpn_remove_data_item) \
    use(nm_simple_connection_new) \
    use(nm_simple_connection_new_clone)
// clang-format on

// NOLINTNEXTLINE(bugprone-macro-parentheses): it is the name that is declared.
#define QUOXELIN_DECLARE(name) inline decltype(&::name) name = nullptr;
QUOXELIN_FUNCTIONS_OF_LIBNM(QUOXELIN_DECLARE)
#undef QUOXELIN_DECLARE

} // namespace quoxelin
