#pragma once

#include "Platform/NSWorkspace.h"

#include <memory>

namespace quoxelin {

class MacWorkspace final : public NSWorkspace {
  public:
    bool open(const Url& url) override;
    void openFolder(const std::filesystem::path& folder) override;
    std::optional<std::filesystem::path>
    urlForApplication(const std::string& bundleIdentifier) const override;
    void openApplication(const std::filesystem::path& application) override;
};

class MacPasteboard final : public NSPasteboard {
  public:
    void clearContents() override;
    void setString(const std::string& text) override;
};

class MacOpenPanel final : public NSOpenPanel {
  public:
    void
    begin(const NSOpenPanelOptions& options,
          std::function<void(std::optional<std::filesystem::path>)> completionHandler) override;
};

} // namespace quoxelin
