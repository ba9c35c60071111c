#pragma once

#include "Base/Subscription.h"

#include <optional>

namespace quoxelin {

/// What a global hot key would hold. None is registered: the panel is opened from the status item
/// only.
struct HotkeyManager {
    std::optional<Subscription> hotKeyRef;
    std::optional<Subscription> eventHandler;
};

} // namespace quoxelin
