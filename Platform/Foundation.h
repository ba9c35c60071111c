#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace quoxelin {

// The parts of Foundation that differ between systems. Any thread unless noted.

/// The main bundle: the installed application.
class NSBundle {
  public:
    virtual ~NSBundle() = default;

    /// "CFBundleIdentifier".
    virtual std::optional<std::string> bundleIdentifier() const = 0;

    /// The folder that contains "Contents".
    virtual std::filesystem::path bundleURL() const = 0;

    /// A value of the information dictionary. Absent if it is missing or not a string.
    virtual std::optional<std::string> stringForInfoDictionaryKey(const std::string& key) const = 0;

    /// The full path of a resource without a type extension. Absent if it is missing.
    virtual std::optional<std::string> pathForResource(const std::string& name) const = 0;

    /// The identifier of the bundle at that path. Absent if there is no bundle or it has no
    /// identifier.
    virtual std::optional<std::string>
    identifierOfBundleAt(const std::filesystem::path& path) const = 0;
};

/// The standard user defaults. Main thread only.
class NSUserDefaults {
  public:
    virtual ~NSUserDefaults() = default;

    /// Absent if the value is missing or not a string.
    virtual std::optional<std::string> string(const std::string& key) const = 0;
    virtual void set(const std::string& key, const std::string& value) = 0;
    virtual void removeObject(const std::string& key) = 0;
};

class NSProcessInfo {
  public:
    virtual ~NSProcessInfo() = default;
    virtual std::string processName() const = 0;

    /// The operating system's major version.
    virtual int operatingSystemMajorVersion() const = 0;
};

class NSFileManager {
  public:
    virtual ~NSFileManager() = default;

    /// The user's Application Support directories, the preferred one first. Empty if the user has
    /// no home directory.
    virtual std::vector<std::filesystem::path> applicationSupportDirectories() const = 0;
    virtual std::filesystem::path temporaryDirectory() const = 0;
};

} // namespace quoxelin
