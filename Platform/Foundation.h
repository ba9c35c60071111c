#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace quoxelin {

// The parts of Foundation that differ from system to system. Any thread, unless said otherwise.

/// The main bundle: the application as it is installed.
class NSBundle {
  public:
    virtual ~NSBundle() = default;

    /// "CFBundleIdentifier".
    virtual std::optional<std::string> bundleIdentifier() const = 0;

    /// The folder that holds "Contents".
    virtual std::filesystem::path bundleURL() const = 0;

    /// A member of the information dictionary; absent also when it is no string.
    virtual std::optional<std::string> stringForInfoDictionaryKey(const std::string& key) const = 0;

    /// The full path of the resource without a type extension; absent when it is missing.
    virtual std::optional<std::string> pathForResource(const std::string& name) const = 0;

    /// The identifier of another bundle at that path; absent when there is no bundle or none in it.
    virtual std::optional<std::string>
    identifierOfBundleAt(const std::filesystem::path& path) const = 0;
};

/// The standard user defaults. Main thread only.
class NSUserDefaults {
  public:
    virtual ~NSUserDefaults() = default;

    /// Absent also when the value is no string.
    virtual std::optional<std::string> string(const std::string& key) const = 0;
    virtual void set(const std::string& key, const std::string& value) = 0;
    virtual void removeObject(const std::string& key) = 0;
};

class NSProcessInfo {
  public:
    virtual ~NSProcessInfo() = default;
    virtual std::string processName() const = 0;

    /// The system's major version as its maker counts it.
    virtual int operatingSystemMajorVersion() const = 0;
};

class NSFileManager {
  public:
    virtual ~NSFileManager() = default;

    /// The user's Application Support directories, best first; none where there is no home.
    virtual std::vector<std::filesystem::path> applicationSupportDirectories() const = 0;
    virtual std::filesystem::path temporaryDirectory() const = 0;
};

} // namespace quoxelin
