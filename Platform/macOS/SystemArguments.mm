#include "Platform/PlatformFactory.h"

namespace quoxelin {

namespace {

/// A user default for this launch, as Xcode and `open --args` pass it. Its value follows.
bool isSetting(const std::string& argument) {
    return argument.starts_with("-NS") || argument.starts_with("-Apple");
}

/// The process serial number, which Finder passes on the first launch of a downloaded program.
bool isProcessNumber(const std::string& argument) {
    return argument.starts_with("-psn_");
}

} // namespace

std::vector<std::string> withoutSystemArguments(std::vector<std::string> arguments) {
    std::vector<std::string> others;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (isSetting(arguments[i]))
            ++i;
        else if (!isProcessNumber(arguments[i]))
            others.push_back(std::move(arguments[i]));
    }
    return others;
}

} // namespace quoxelin
