#pragma once

#include "Platform/Foundation.h"

#include <map>

namespace quoxelin {

/// The bundle's layout as on its first platform, under the install prefix: a folder that holds
/// Contents/Info.plist and Contents/Resources.
class FolderBundle final : public NSBundle {
  public:
    /// `root` holds "Contents".
    explicit FolderBundle(std::filesystem::path root);

    /// The bundle of this program: beside the executable (a build directory), or in
    /// ../lib/quoxelin-desktop as seen from it (an installation).
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
