#pragma once

#include "Platform/XPC.h"

namespace quoxelin {

/// The Mach service of the privileged helper, which implements `HelperToolProtocol`.
inline constexpr const char* helperMachServiceName = "com.quoxelin.desktop.Helper";

} // namespace quoxelin
