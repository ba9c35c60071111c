#pragma once

#include "Platform/NSWorkspace.h"

namespace quoxelin {

/// The desktop's default handlers, and the applications by their desktop entries.
class QtWorkspace final : public NSWorkspace {
  public:
    bool open(const Url& url) override;
    void openFolder(const std::filesystem::path& folder) override;

    /// The desktop entry named after the identifier.
    std::optional<std::filesystem::path>
    urlForApplication(const std::string& bundleIdentifier) const override;

    /// Starts what the desktop entry says.
    void openApplication(const std::filesystem::path& application) override;
};

} // namespace quoxelin
