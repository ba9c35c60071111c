#pragma once

#include "Platform/NSWorkspace.h"

namespace quoxelin {

/// The desktop's default handlers, and applications found by their desktop entries. Never waits for
/// the programs that it starts.
class QtWorkspace final : public NSWorkspace {
  public:
    /// False if no program handles the URL's scheme.
    bool open(const Url& url) override;
    void openFolder(const std::filesystem::path& folder) override;

    /// The desktop entry named after the identifier. For the macOS system settings, the entry of
    /// this desktop's settings.
    std::optional<std::filesystem::path>
    urlForApplication(const std::string& bundleIdentifier) const override;

    /// Runs the desktop entry's command.
    void openApplication(const std::filesystem::path& application) override;
};

} // namespace quoxelin
