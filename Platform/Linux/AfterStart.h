#pragma once

#include <chrono>

namespace quoxelin {

/// Long enough for a tray to take the icon. What the icon does without is made or loaded after this
/// time.
inline constexpr std::chrono::milliseconds afterStart{250};

} // namespace quoxelin
