#include "Platform/PlatformFactory.h"

#include "Tests/Platform/macOS/StagedProgram/StagedHost.h"

namespace quoxelin {

Result<std::unique_ptr<PlatformHost>, LaunchRefusal> makePlatform(const LaunchOptions& options) {
    return std::make_unique<StagedHost>(options);
}

} // namespace quoxelin
