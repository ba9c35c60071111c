#pragma once

#include "Base/Subscription.h"
#include "Base/WorkItem.h"

#include <memory>
#include <optional>

namespace quoxelin {

class NSPanel;

/// What a panel that hides itself would hold. Nothing hides the panel by itself: it installs no
/// monitor and schedules no work.
struct MenuPanelController {
    std::shared_ptr<NSPanel> panel;
    std::optional<Subscription> globalEventMonitor;
    std::optional<WorkItem> autoHideWorkItem;
};

} // namespace quoxelin
