#pragma once

#include "Platform/NSWorkspace.h"

#include <map>
#include <set>
#include <vector>

namespace quoxelin {

/// A desktop with a handler for every URL, unless it was taken away. Main thread only.
class SimulatedWorkspace final : public NSWorkspace {
  public:
    bool open(const Url& url) override;
    void openFolder(const std::filesystem::path& folder) override;
    std::optional<std::filesystem::path>
    urlForApplication(const std::string& bundleIdentifier) const override;
    void openApplication(const std::filesystem::path& application) override;

    /// URLs that begin with the text do not open any more; the empty text means every URL.
    void refuseURLs(const std::string& beginning) { refused.insert(beginning); }
    void acceptAllURLs() { refused.clear(); }

    /// The installed applications by bundle identifier; the settings application to begin with.
    std::map<std::string, std::filesystem::path> applications = {
        {"com.apple.SystemSettings", "/System/Applications/System Settings.app"}};

    /// The URLs that opened, and all that the application tried.
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

} // namespace quoxelin
