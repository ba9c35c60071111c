#include "Platform/PlatformFactory.h"

#include "Platform/Linux/LinuxHost.h"

namespace quoxelin {

Result<std::unique_ptr<PlatformHost>, LaunchRefusal> makePlatform(const LaunchOptions& options) {
    auto host = std::make_unique<LinuxHost>(options);
    if (auto refusal = host->refusal(options))
        return tl::unexpected(std::move(*refusal));
    return host;
}

} // namespace quoxelin
