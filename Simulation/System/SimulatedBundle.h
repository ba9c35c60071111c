#pragma once

#include "Platform/Foundation.h"

#include <map>

namespace quoxelin {

/// An installed application, complete unless something is taken away. The fields are read at every
/// call; set them before other threads ask.
class SimulatedBundle final : public NSBundle {
  public:
    std::optional<std::string> identifier = "com.quoxelin.desktop";

    /// Need not exist; where the application lists its folders, give it a real one.
    std::filesystem::path url = "/Applications/Quoxelin.app";

    /// The members that are strings; leave out the others, which read as absent.
    std::map<std::string, std::string> infoDictionary = {{"CFBundleDisplayName", "Quoxelin"},
                                                         {"CFBundleName", "Quoxelin"},
                                                         {"CFBundleVersion", "1"}};

    /// Resource names without type extension, and their full paths.
    std::map<std::string, std::string> resources = {
        {"quoxelin", "/Applications/Quoxelin.app/Contents/Resources/quoxelin"},
        {"quoxelind", "/Applications/Quoxelin.app/Contents/Resources/quoxelind"}};

    /// Other bundles by their path, with their identifiers.
    std::map<std::filesystem::path, std::string> bundles;

    std::optional<std::string> bundleIdentifier() const override { return identifier; }
    std::filesystem::path bundleURL() const override { return url; }
    std::optional<std::string> stringForInfoDictionaryKey(const std::string& key) const override;
    std::optional<std::string> pathForResource(const std::string& name) const override;
    std::optional<std::string>
    identifierOfBundleAt(const std::filesystem::path& path) const override;
};

} // namespace quoxelin
