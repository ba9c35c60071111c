#pragma once

#include "Base/Url.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace quoxelin {

// What the application uses of the desktop. Main thread only.

class NSWorkspace {
  public:
    virtual ~NSWorkspace() = default;

    /// Opens the URL with its default handler. False if there is no handler or it refuses.
    virtual bool open(const Url& url) = 0;

    virtual void openFolder(const std::filesystem::path& folder) = 0;

    virtual std::optional<std::filesystem::path>
    urlForApplication(const std::string& bundleIdentifier) const = 0;

    /// Uses a default configuration. The outcome is not reported.
    virtual void openApplication(const std::filesystem::path& application) = 0;
};

class NSPasteboard {
  public:
    virtual ~NSPasteboard() = default;
    virtual void clearContents() = 0;
    virtual void setString(const std::string& text) = 0;
};

struct NSOpenPanelOptions {
    std::string title;
    std::string prompt;
    bool canChooseFiles = true;
    bool canChooseDirectories = false;
    bool canCreateDirectories = false;
};

class NSOpenPanel {
  public:
    virtual ~NSOpenPanel() = default;

    /// Shows the panel without blocking. Completes with the choice, or with nothing if it was
    /// canceled.
    virtual void
    begin(const NSOpenPanelOptions& options,
          std::function<void(std::optional<std::filesystem::path>)> completionHandler) = 0;
};

inline constexpr const char* kInternetEventClass = "GURL";
inline constexpr const char* kAEGetURL = "GURL";

/// Events sent by other programs. The application handles get-URL.
class NSAppleEventManager {
  public:
    virtual ~NSAppleEventManager() = default;

    /// Sets the handler, which receives the direct object's string, absent if the event has none.
    /// An event that arrived before is delivered when the handler is set.
    virtual void
    setEventHandler(const std::string& eventClass, const std::string& eventID,
                    std::function<void(std::optional<std::string> directObject)> handler) = 0;
};

} // namespace quoxelin
