#include "Platform/Platform.h"

#include "Base/ProgrammingFault.h"

namespace quoxelin {

namespace {
const Platform* currentPlatform = nullptr;
}

const Platform& Platform::current() {
    if (currentPlatform == nullptr)
        programmingFault("a shared instance was asked for before main() chose the platform");
    return *currentPlatform;
}

void Platform::use(const Platform& platform) {
    currentPlatform = &platform;
}

} // namespace quoxelin
