#pragma once

// As with an SDK of macOS 12, which does not declare SMAppService yet.
#define __MAC_12_0 120000
#define __MAC_OS_X_VERSION_MAX_ALLOWED 120000
