#pragma once

#include "Platform/NSWorkspace.h"

namespace quoxelin {

/// The desktop's default handlers, and the applications by their desktop entries. What is started
/// is started beside this program, which never waits for it.
class QtWorkspace final : public NSWorkspace {
  public:
    /// False where nothing handles URLs of that scheme.
    bool open(const Url& url) override;
    void openFolder(const std::filesystem::path& folder) override;

    /// The desktop entry named after the identifier; for the first platform's system settings, the
    /// entry of this desktop's.
    std::optional<std::filesystem::path>
    urlForApplication(const std::string& bundleIdentifier) const override;

    /// Starts what the desktop entry says.
    void openApplication(const std::filesystem::path& application) override;
};

} // namespace quoxelin
