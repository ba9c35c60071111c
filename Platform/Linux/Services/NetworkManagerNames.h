#pragma once

#include <cstdint>

/// NetworkManager's D-Bus interface, as far as this program uses it.
namespace quoxelin::nm {

/// Also the name of the main object's interface.
inline constexpr const char* service = "org.freedesktop.NetworkManager";
inline constexpr const char* mainObject = "/org/freedesktop/NetworkManager";
inline constexpr const char* activeInterface = "org.freedesktop.NetworkManager.Connection.Active";
inline constexpr const char* settingsObject = "/org/freedesktop/NetworkManager/Settings";
inline constexpr const char* settingsInterface = "org.freedesktop.NetworkManager.Settings";
inline constexpr const char* connectionInterface =
    "org.freedesktop.NetworkManager.Settings.Connection";

} // namespace quoxelin::nm
