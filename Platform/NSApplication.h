#pragma once

#include <functional>
#include <string>
#include <vector>

namespace quoxelin {

/// Posted on the default notification center when the application becomes active. Main thread; no
/// object.
inline constexpr const char* NSApplicationDidBecomeActiveNotification =
    "NSApplicationDidBecomeActiveNotification";

inline constexpr unsigned long NSEventModifierFlagOption = 0x80000;
inline constexpr unsigned long NSEventModifierFlagCommand = 0x100000;

/// One item of a menu. A separator if the title is empty.
struct NSMenuItem {
    std::string title;
    /// The selector of a standard action ("hide:"), which the application performs itself.
    std::string action;
    /// Used instead of `action` if set.
    std::function<void()> target;
    /// Empty for none.
    std::string keyEquivalent;
    unsigned long keyEquivalentModifierMask = NSEventModifierFlagCommand;
    /// Asked when the menu opens, where it is set: an item that is not enabled is gray.
    std::function<bool()> isEnabled = nullptr;
};

class NSApplicationDelegate {
  public:
    virtual ~NSApplicationDelegate() = default;
    virtual void applicationDidFinishLaunching() = 0;
    virtual void applicationWillTerminate() = 0;
};

/// The running application. Main thread only.
class NSApplication {
  public:
    virtual ~NSApplication() = default;

    /// Runs the main loop and returns the exit code of the process. Tells the delegate first that
    /// launching has finished and last that the application will terminate.
    virtual int run(NSApplicationDelegate& delegate) = 0;

    /// Ends `run` after this turn of the main loop.
    virtual void terminate() = 0;

    virtual void activateIgnoringOtherApps() = 0;

    /// Sets the submenu of the main menu's only top-level item.
    virtual void setMainMenu(const std::vector<NSMenuItem>& submenu) = 0;
};

} // namespace quoxelin
