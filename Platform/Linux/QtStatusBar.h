#pragma once

#include "Platform/NSStatusBar.h"

#include <QMenu>

namespace quoxelin {

class ClickWatch;

/// The desktop's tray as the status bar.
class QtStatusBar final : public NSStatusBar {
  public:
    /// The menu opens by the tray's other button. Both outlive the items.
    QtStatusBar(QMenu& contextMenu, ClickWatch& clicks)
        : contextMenu(contextMenu), clicks(clicks) {}

    std::unique_ptr<NSStatusItem> statusItemWithLength(double length) override;
    std::shared_ptr<NSImage> imageNamed(const std::string& name) override;

  private:
    QMenu& contextMenu;
    ClickWatch& clicks;
};

} // namespace quoxelin
