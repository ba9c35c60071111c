#pragma once

#include "Base/Subscription.h"
#include "Base/WorkItem.h"

#include <memory>
#include <optional>

namespace quoxelin {

class NSPanel;

/// The state of a panel that hides automatically. Installs no monitor and schedules no work.
struct MenuPanelController {
    std::shared_ptr<NSPanel> panel;
    std::optional<Subscription> globalEventMonitor;
    std::optional<WorkItem> autoHideWorkItem;
};

} // namespace quoxelin
