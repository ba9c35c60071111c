#pragma once

#include "Platform/XPC.h"

namespace quoxelin {

/// The Mach service under which launchd offers the privileged helper, who speaks
/// `HelperToolProtocol`.
inline constexpr const char* helperMachServiceName = "com.quoxelin.desktop.Helper";

} // namespace quoxelin
