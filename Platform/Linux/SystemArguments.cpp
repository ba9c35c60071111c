#include "Platform/PlatformFactory.h"

namespace quoxelin {

std::vector<std::string> withoutSystemArguments(std::vector<std::string> arguments) {
    return arguments;
}

} // namespace quoxelin
