#pragma once

#include "Platform/NSPanel.h"

namespace quoxelin {

class ClickWatch;

/// Floating panels as frameless windows.
class QtPanels final : public Panels {
  public:
    explicit QtPanels(ClickWatch& clicks) : clicks(clicks) {}

    std::unique_ptr<NSPanel> makePanel(const NSPanelOptions& options) override;
    std::shared_ptr<NSHostingView> makeHostingView() override;
    Subscription addGlobalMonitorForEvents(unsigned long long mask,
                                           std::function<void()> handler) override;

  private:
    ClickWatch& clicks;
};

} // namespace quoxelin
