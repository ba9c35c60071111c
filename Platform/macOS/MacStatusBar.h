#pragma once

#include "Platform/NSStatusBar.h"

namespace quoxelin {

class MacStatusBar final : public NSStatusBar {
  public:
    std::unique_ptr<NSStatusItem> statusItemWithLength(double length) override;
    std::shared_ptr<NSImage> imageNamed(const std::string& name) override;
};

} // namespace quoxelin
