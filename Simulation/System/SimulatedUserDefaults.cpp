#include "Simulation/System/SimulatedUserDefaults.h"

namespace quoxelin {

std::optional<std::string> SimulatedUserDefaults::string(const std::string& key) const {
    const auto found = values.find(key);
    if (found == values.end())
        return std::nullopt;
    const auto* const text = std::get_if<std::string>(&found->second);
    return text == nullptr ? std::nullopt : std::optional(*text);
}

void SimulatedUserDefaults::removeObject(const std::string& key) {
    values.erase(key);
    removed.push_back(key);
}

} // namespace quoxelin
