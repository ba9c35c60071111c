#pragma once

#include "Base/Url.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace quoxelin {

// What the application asks of the desktop around it. Main thread only.

class NSWorkspace {
  public:
    virtual ~NSWorkspace() = default;

    /// Opens the URL with its default handler; false when there is none or it refuses.
    virtual bool open(const Url& url) = 0;

    /// Shows the folder.
    virtual void openFolder(const std::filesystem::path& folder) = 0;

    virtual std::optional<std::filesystem::path>
    urlForApplication(const std::string& bundleIdentifier) const = 0;

    /// With a default configuration; the outcome is not told.
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

    /// Shows the panel without blocking; answers with the choice, absent when it was cancelled.
    virtual void
    begin(const NSOpenPanelOptions& options,
          std::function<void(std::optional<std::filesystem::path>)> completionHandler) = 0;
};

inline constexpr const char* kInternetEventClass = "GURL";
inline constexpr const char* kAEGetURL = "GURL";

/// Events that other programs send, of which the application takes get-URL.
class NSAppleEventManager {
  public:
    virtual ~NSAppleEventManager() = default;

    /// The handler receives the direct object's string, absent when the event has none. An event
    /// that came before a handler was set is handed over when it is.
    virtual void
    setEventHandler(const std::string& eventClass, const std::string& eventID,
                    std::function<void(std::optional<std::string> directObject)> handler) = 0;
};

} // namespace quoxelin
