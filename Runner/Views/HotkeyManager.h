#pragma once

#include "Base/Subscription.h"

#include <optional>

namespace quoxelin {

/// The state of a global hot key. Never registered: the panel opens from the status item.
struct HotkeyManager {
    std::optional<Subscription> hotKeyRef;
    std::optional<Subscription> eventHandler;
};

} // namespace quoxelin
