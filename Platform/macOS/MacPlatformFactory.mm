#include "Platform/PlatformFactory.h"

#include "Platform/macOS/MacHost.h"

namespace quoxelin {

Result<std::unique_ptr<PlatformHost>, LaunchRefusal> makePlatform(const LaunchOptions& options) {
    return std::make_unique<MacHost>(options);
}

} // namespace quoxelin
