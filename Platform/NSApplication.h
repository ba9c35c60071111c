#pragma once

#include <functional>
#include <string>
#include <vector>

namespace quoxelin {

/// Posted on the default notification centre, on the main thread, with no object, whenever the
/// application comes to the front.
inline constexpr const char* NSApplicationDidBecomeActiveNotification =
    "NSApplicationDidBecomeActiveNotification";

inline constexpr unsigned long NSEventModifierFlagOption = 0x80000;
inline constexpr unsigned long NSEventModifierFlagCommand = 0x100000;

/// One item of a menu, or a separator when the title is empty.
struct NSMenuItem {
    std::string title;
    /// A standard action by its selector ("hide:"), which the application performs itself;
    std::string action;
    /// or, where this is set, an action of the item's own.
    std::function<void()> target;
    /// Empty: none.
    std::string keyEquivalent;
    unsigned long keyEquivalentModifierMask = NSEventModifierFlagCommand;
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

    /// Runs the main loop. Tells the delegate first that launching is finished and last that the
    /// application is about to terminate; answers with the process's exit code.
    virtual int run(NSApplicationDelegate& delegate) = 0;

    /// Ends `run`, after this turn of the main loop.
    virtual void terminate() = 0;

    virtual void activateIgnoringOtherApps() = 0;

    /// The submenu of the main menu's one top-level item.
    virtual void setMainMenu(const std::vector<NSMenuItem>& submenu) = 0;
};

} // namespace quoxelin
