#pragma once

#include "Platform/Foundation.h"

namespace quoxelin {

/// Application Support is the XDG data directory: $XDG_DATA_HOME, or ~/.local/share.
class XdgFileManager final : public NSFileManager {
  public:
    std::vector<std::filesystem::path> applicationSupportDirectories() const override;
    std::filesystem::path temporaryDirectory() const override;
};

} // namespace quoxelin
