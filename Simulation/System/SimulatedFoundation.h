#pragma once

#include "Platform/Foundation.h"

#include <map>
#include <variant>

namespace quoxelin {

/// An installed application, complete by default. Every call reads the fields; set them before
/// other threads use it.
class SimulatedBundle final : public NSBundle {
  public:
    std::optional<std::string> identifier = "com.quoxelin.desktop";

    /// Need not exist, unless the application lists its folders.
    std::filesystem::path url = "/Applications/Quoxelin.app";

    /// The members that are strings. Others are read as absent, so leave them out.
    std::map<std::string, std::string> infoDictionary = {{"CFBundleDisplayName", "Quoxelin"},
                                                         {"CFBundleName", "Quoxelin"},
                                                         {"CFBundleVersion", "1"}};

    /// Full paths by resource name without type extension.
    std::map<std::string, std::string> resources = {
        {"quoxelin", "/Applications/Quoxelin.app/Contents/Resources/quoxelin"},
        {"quoxelind", "/Applications/Quoxelin.app/Contents/Resources/quoxelind"}};

    /// Identifiers of other bundles by path.
    std::map<std::filesystem::path, std::string> bundles;

    std::optional<std::string> bundleIdentifier() const override { return identifier; }
    std::filesystem::path bundleURL() const override { return url; }
    std::optional<std::string> stringForInfoDictionaryKey(const std::string& key) const override {
        return find(infoDictionary, key);
    }
    std::optional<std::string> pathForResource(const std::string& name) const override {
        return find(resources, name);
    }
    std::optional<std::string>
    identifierOfBundleAt(const std::filesystem::path& path) const override {
        return find(bundles, path);
    }

  private:
    template <typename Map>
    static std::optional<std::string> find(const Map& map, const typename Map::key_type& key) {
        const auto found = map.find(key);
        return found == map.end() ? std::nullopt : std::optional(found->second);
    }
};

/// Returns the given directories. Set them before other threads use it.
class SimulatedFileManager final : public NSFileManager {
  public:
    /// Unusable by default, so that nothing is written before a test sets them.
    std::vector<std::filesystem::path> applicationSupport;
    std::filesystem::path temporary = "/dev/null";

    std::vector<std::filesystem::path> applicationSupportDirectories() const override {
        return applicationSupport;
    }
    std::filesystem::path temporaryDirectory() const override { return temporary; }
};

class SimulatedProcessInfo final : public NSProcessInfo {
  public:
    std::string name = "Quoxelin";
    int majorVersion = 15;

    std::string processName() const override { return name; }
    int operatingSystemMajorVersion() const override { return majorVersion; }
};

/// User defaults in memory. Main thread only.
class SimulatedUserDefaults final : public NSUserDefaults {
  public:
    std::optional<std::string> string(const std::string& key) const override {
        const auto found = values.find(key);
        const auto* const text =
            found == values.end() ? nullptr : std::get_if<std::string>(&found->second);
        return text == nullptr ? std::nullopt : std::optional(*text);
    }
    void set(const std::string& key, const std::string& value) override { values[key] = value; }
    void removeObject(const std::string& key) override {
        values.erase(key);
        removed.push_back(key);
    }

    /// Stores a value that is not a string, like other versions of an application.
    void setBool(const std::string& key, bool value) { values[key] = value; }

    bool contains(const std::string& key) const { return values.count(key) != 0; }

    /// The keys passed to `removeObject`, in order.
    const std::vector<std::string>& removals() const { return removed; }

  private:
    std::map<std::string, std::variant<std::string, bool>> values;
    std::vector<std::string> removed;
};

} // namespace quoxelin
