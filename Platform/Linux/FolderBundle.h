#pragma once

#include "Platform/Foundation.h"

#include <map>

namespace quoxelin {

/// A bundle laid out as on macOS, under the install prefix: a folder that holds Contents/Info.plist
/// and Contents/Resources.
class FolderBundle final : public NSBundle {
  public:
    /// `root` holds "Contents".
    explicit FolderBundle(std::filesystem::path root);

    /// This program's bundle: beside the executable in a build directory, or in
    /// ../lib/quoxelin-desktop relative to it in an installation.
    static std::filesystem::path rootOfThisProgram();

    std::optional<std::string> bundleIdentifier() const override;
    std::filesystem::path bundleURL() const override { return root; }
    std::optional<std::string> stringForInfoDictionaryKey(const std::string& key) const override;
    std::optional<std::string> pathForResource(const std::string& name) const override;
    std::optional<std::string>
    identifierOfBundleAt(const std::filesystem::path& path) const override;

  private:
    using Strings = std::map<std::string, std::string>;
    static Strings readInfoDictionary(const std::filesystem::path& root);

    std::filesystem::path root;
    Strings information;
};

} // namespace quoxelin
