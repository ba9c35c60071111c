#pragma once

#include <string>

namespace quoxelin {

class AppleScript;
class Connector;
class Dispatch;
class NetworkExtension;
class NotificationCenter;
class NSAppleEventManager;
class NSApplication;
class NSBundle;
class NSFileManager;
class NSOpenPanel;
class NSPasteboard;
class NSProcessInfo;
class NSStatusBar;
class NSUserDefaults;
class NSWorkspace;
class OSSystemExtensionManager;
class Panels;
class ServiceManagement;
class SystemLog;
class UNUserNotificationCenter;
class Updates;
class XPC;

/// The daemon's socket, unless a developer chooses another one.
inline constexpr const char* defaultDaemonSocketPath = "/var/run/quoxelind.socket";

/// Everything that the application uses of the operating system. The references are valid as long
/// as the process runs.
struct Platform {
    Dispatch& dispatch;
    Connector& connector;
    NotificationCenter& notificationCenter;
    SystemLog& systemLog;
    NSBundle& mainBundle;
    NSUserDefaults& userDefaults;
    NSProcessInfo& processInfo;
    NSFileManager& fileManager;
    NetworkExtension& networkExtension;
    OSSystemExtensionManager& systemExtensionManager;
    ServiceManagement& serviceManagement;
    XPC& xpc;
    UNUserNotificationCenter& userNotificationCenter;
    Updates& updates;
    AppleScript& appleScript;
    NSApplication& application;
    NSStatusBar& statusBar;
    Panels& panels;
    NSWorkspace& workspace;
    NSPasteboard& pasteboard;
    NSOpenPanel& openPanel;
    NSAppleEventManager& appleEventManager;
    std::string daemonSocketPath = defaultDaemonSocketPath;
    /// What to tell a user whose helper cannot be used, on a system without settings for that.
    /// Empty if the settings have login items to allow.
    std::string helperGuidance{};
    /// The same for the system extension.
    std::string systemExtensionGuidance{};

    /// The platform of this process, used by the shared instances. Call `use` first, once, on the
    /// main thread, with a platform that lives as long as the process.
    static const Platform& current();
    static void use(const Platform& platform);
};

} // namespace quoxelin
