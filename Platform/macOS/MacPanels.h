#pragma once

#include "Platform/NSPanel.h"

namespace quoxelin {

class MacPanels final : public Panels {
  public:
    std::unique_ptr<NSPanel> makePanel(const NSPanelOptions& options) override;
    std::shared_ptr<NSHostingView> makeHostingView() override;
    Subscription addGlobalMonitorForEvents(unsigned long long mask,
                                           std::function<void()> handler) override;
};

} // namespace quoxelin
