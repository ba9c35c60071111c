#include "Simulation/System/SimulatedWorkspace.h"

namespace quoxelin {

bool SimulatedWorkspace::open(const Url& url) {
    tried.push_back(url.text());
    for (const auto& beginning : refused) {
        if (url.text().compare(0, beginning.size(), beginning) == 0)
            return false;
    }
    opened.push_back(url.text());
    return true;
}

void SimulatedWorkspace::openFolder(const std::filesystem::path& folder) {
    folders.push_back(folder);
}

std::optional<std::filesystem::path>
SimulatedWorkspace::urlForApplication(const std::string& bundleIdentifier) const {
    const auto found = applications.find(bundleIdentifier);
    return found == applications.end() ? std::nullopt : std::optional(found->second);
}

void SimulatedWorkspace::openApplication(const std::filesystem::path& application) {
    started.push_back(application);
}

} // namespace quoxelin
