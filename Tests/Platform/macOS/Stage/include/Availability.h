#pragma once

// Like the macOS 12 SDK, which does not declare SMAppService.
#define __MAC_12_0 120000
#define __MAC_OS_X_VERSION_MAX_ALLOWED 120000
