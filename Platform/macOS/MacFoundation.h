#pragma once

#include "Platform/Foundation.h"

namespace quoxelin {

/// The running application's bundle.
class MacBundle final : public NSBundle {
  public:
    std::optional<std::string> bundleIdentifier() const override;
    std::filesystem::path bundleURL() const override;
    std::optional<std::string> stringForInfoDictionaryKey(const std::string& key) const override;
    std::optional<std::string> pathForResource(const std::string& name) const override;
    std::optional<std::string>
    identifierOfBundleAt(const std::filesystem::path& path) const override;
};

/// The application's preferences domain.
class MacUserDefaults final : public NSUserDefaults {
  public:
    std::optional<std::string> string(const std::string& key) const override;
    void set(const std::string& key, const std::string& value) override;
    void removeObject(const std::string& key) override;
};

class MacProcessInfo final : public NSProcessInfo {
  public:
    std::string processName() const override;
    int operatingSystemMajorVersion() const override;
};

class MacFileManager final : public NSFileManager {
  public:
    std::vector<std::filesystem::path> applicationSupportDirectories() const override;
    std::filesystem::path temporaryDirectory() const override;
};

} // namespace quoxelin
