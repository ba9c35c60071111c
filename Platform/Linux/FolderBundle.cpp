#include "Platform/Linux/FolderBundle.h"

#include "Base/PropertyList.h"

#include <fstream>
#include <system_error>

namespace quoxelin {

namespace {

std::optional<std::string> find(const std::map<std::string, std::string>& strings,
                                const std::string& key) {
    const auto found = strings.find(key);
    if (found == strings.end())
        return std::nullopt;
    return found->second;
}

} // namespace

FolderBundle::FolderBundle(std::filesystem::path root)
    : root(std::move(root)), information(readInfoDictionary(this->root)) {}

std::filesystem::path FolderBundle::rootOfThisProgram() {
    std::error_code failure;
    auto folder = std::filesystem::read_symlink("/proc/self/exe", failure).parent_path();
    if (std::filesystem::exists(folder / "Contents", failure))
        return folder;
    return (folder / ".." / "lib" / "quoxelin-desktop").lexically_normal();
}

/// Empty if the property list is missing or broken.
FolderBundle::Strings FolderBundle::readInfoDictionary(const std::filesystem::path& root) {
    std::ifstream file(root / "Contents" / "Info.plist", std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    return stringsOfPropertyList(text).value_or(Strings{});
}

std::optional<std::string> FolderBundle::bundleIdentifier() const {
    return stringForInfoDictionaryKey("CFBundleIdentifier");
}

std::optional<std::string> FolderBundle::stringForInfoDictionaryKey(const std::string& key) const {
    return find(information, key);
}

std::optional<std::string> FolderBundle::pathForResource(const std::string& name) const {
    const auto path = root / "Contents" / "Resources" / name;
    std::error_code failure;
    if (!std::filesystem::exists(path, failure))
        return std::nullopt;
    return path.string();
}

std::optional<std::string>
FolderBundle::identifierOfBundleAt(const std::filesystem::path& path) const {
    return find(readInfoDictionary(path), "CFBundleIdentifier");
}

} // namespace quoxelin
