#include "Simulation/System/SimulatedBundle.h"

namespace quoxelin {

namespace {

template <typename Map>
std::optional<std::string> find(const Map& map, const typename Map::key_type& key) {
    const auto found = map.find(key);
    return found == map.end() ? std::nullopt : std::optional(found->second);
}

} // namespace

std::optional<std::string>
SimulatedBundle::stringForInfoDictionaryKey(const std::string& key) const {
    return find(infoDictionary, key);
}

std::optional<std::string> SimulatedBundle::pathForResource(const std::string& name) const {
    return find(resources, name);
}

std::optional<std::string>
SimulatedBundle::identifierOfBundleAt(const std::filesystem::path& path) const {
    return find(bundles, path);
}

} // namespace quoxelin
