#pragma once

#include "Base/Dispatch.h"
#include "Platform/NSWorkspace.h"

#include <deque>
#include <map>
#include <set>
#include <utility>
#include <vector>

// The desktop around the application, in memory. Main thread only.
namespace quoxelin {

/// Opens every URL that is not refused.
class SimulatedWorkspace final : public NSWorkspace {
  public:
    bool open(const Url& url) override {
        tried.push_back(url.text());
        for (const auto& beginning : refused)
            if (url.text().rfind(beginning, 0) == 0)
                return false;
        opened.push_back(url.text());
        return true;
    }
    void openFolder(const std::filesystem::path& folder) override { folders.push_back(folder); }
    std::optional<std::filesystem::path>
    urlForApplication(const std::string& bundleIdentifier) const override {
        const auto found = applications.find(bundleIdentifier);
        return found == applications.end() ? std::nullopt : std::optional(found->second);
    }
    void openApplication(const std::filesystem::path& application) override {
        started.push_back(application);
    }

    /// URLs that start with the text no longer open; an empty text refuses every URL.
    void refuseURLs(const std::string& beginning) { refused.insert(beginning); }
    void acceptAllURLs() { refused.clear(); }

    /// The installed applications by bundle identifier; initially the settings application.
    std::map<std::string, std::filesystem::path> applications = {
        {"com.apple.SystemSettings", "/System/Applications/System Settings.app"}};

    /// The URLs that opened, and all URLs that the application tried.
    const std::vector<std::string>& openedURLs() const { return opened; }
    const std::vector<std::string>& triedURLs() const { return tried; }
    const std::vector<std::filesystem::path>& openedFolders() const { return folders; }
    const std::vector<std::filesystem::path>& openedApplications() const { return started; }

  private:
    std::set<std::string> refused;
    std::vector<std::string> opened;
    std::vector<std::string> tried;
    std::vector<std::filesystem::path> folders;
    std::vector<std::filesystem::path> started;
};

/// A pasteboard with one string.
class SimulatedPasteboard final : public NSPasteboard {
  public:
    void clearContents() override {
        content.reset();
        ++changes;
    }
    void setString(const std::string& text) override { content = text; }

    const std::optional<std::string>& string() const { return content; }

    /// How often it was cleared.
    int changeCount() const { return changes; }

  private:
    std::optional<std::string> content;
    int changes = 0;
};

/// An open panel and the user in front of it.
class SimulatedOpenPanel final : public NSOpenPanel {
  public:
    using Choice = std::optional<std::filesystem::path>;

    explicit SimulatedOpenPanel(Dispatch& dispatch) : dispatch(dispatch) {}

    void begin(const NSOpenPanelOptions& options,
               std::function<void(Choice)> completionHandler) override {
        begun.push_back(options);
        waiting.push_back(std::move(completionHandler));
    }

    /// The user chooses the folder in the oldest panel; false without a panel.
    bool choose(const std::filesystem::path& folder) { return answer(folder); }
    bool cancel() { return answer(std::nullopt); }

    /// The number of open panels.
    std::size_t shown() const { return waiting.size(); }

    /// The options of all panels so far.
    const std::vector<NSOpenPanelOptions>& history() const { return begun; }

  private:
    bool answer(Choice choice) {
        if (waiting.empty())
            return false;
        dispatch.main().async([completion = std::move(waiting.front()),
                               choice = std::move(choice)] { completion(choice); });
        waiting.pop_front();
        return true;
    }

    Dispatch& dispatch;
    std::deque<std::function<void(Choice)>> waiting;
    std::vector<NSOpenPanelOptions> begun;
};

/// Delivers events of other programs.
class SimulatedAppleEventManager final : public NSAppleEventManager {
  public:
    using Handler = std::function<void(std::optional<std::string>)>;

    void setEventHandler(const std::string& eventClass, const std::string& eventID,
                         Handler handler) override {
        const Key key(eventClass, eventID);
        handlers[key] = std::move(handler);
        for (const auto& directObject : std::exchange(early[key], {}))
            send(eventClass, eventID, directObject);
    }

    /// Another program sends the event. The handler is called before this returns, or as soon as
    /// there is one.
    void send(const std::string& eventClass, const std::string& eventID,
              std::optional<std::string> directObject) {
        const Key key(eventClass, eventID);
        const auto found = handlers.find(key);
        if (found == handlers.end())
            early[key].push_back(std::move(directObject));
        else
            Handler(found->second)(std::move(directObject));
    }

    /// A browser passes on the URL.
    void sendGetURL(std::optional<std::string> url) {
        send(kInternetEventClass, kAEGetURL, std::move(url));
    }

    bool hasHandler(const std::string& eventClass, const std::string& eventID) const {
        return handlers.count({eventClass, eventID}) != 0;
    }

  private:
    using Key = std::pair<std::string, std::string>;
    std::map<Key, Handler> handlers;
    std::map<Key, std::vector<std::optional<std::string>>> early;
};

} // namespace quoxelin
