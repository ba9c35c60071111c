#pragma once

#include "Platform/NSWorkspace.h"

namespace quoxelin {

/// The desktop's file dialog, or Qt's own if the desktop has none.
class QtOpenPanel final : public NSOpenPanel {
  public:
    void
    begin(const NSOpenPanelOptions& options,
          std::function<void(std::optional<std::filesystem::path>)> completionHandler) override;
};

} // namespace quoxelin
