#include "Platform/macOS/MacFoundation.h"

#include "Platform/macOS/ObjC.h"

namespace quoxelin {

namespace {

std::optional<std::string> optionalString(id value) {
    if (![value isKindOfClass:[NSString class]])
        return std::nullopt;
    return toString(value);
}

} // namespace

std::optional<std::string> MacBundle::bundleIdentifier() const {
    return optionalString([::NSBundle mainBundle].bundleIdentifier);
}

std::filesystem::path MacBundle::bundleURL() const {
    return toPath([::NSBundle mainBundle].bundleURL);
}

std::optional<std::string> MacBundle::stringForInfoDictionaryKey(const std::string& key) const {
    return optionalString([[::NSBundle mainBundle] objectForInfoDictionaryKey:toNSString(key)]);
}

std::optional<std::string> MacBundle::pathForResource(const std::string& name) const {
    return optionalString([[::NSBundle mainBundle] pathForResource:toNSString(name) ofType:nil]);
}

std::optional<std::string>
MacBundle::identifierOfBundleAt(const std::filesystem::path& path) const {
    NSURL* const url = toFileURL(path);
    if (url == nil)
        return std::nullopt;
    return optionalString([::NSBundle bundleWithURL:url].bundleIdentifier);
}

std::optional<std::string> MacUserDefaults::string(const std::string& key) const {
    return optionalString([[::NSUserDefaults standardUserDefaults] objectForKey:toNSString(key)]);
}

void MacUserDefaults::set(const std::string& key, const std::string& value) {
    [[::NSUserDefaults standardUserDefaults] setObject:toNSString(value) forKey:toNSString(key)];
}

void MacUserDefaults::removeObject(const std::string& key) {
    [[::NSUserDefaults standardUserDefaults] removeObjectForKey:toNSString(key)];
}

std::string MacProcessInfo::processName() const {
    return toString([::NSProcessInfo processInfo].processName);
}

int MacProcessInfo::operatingSystemMajorVersion() const {
    return static_cast<int>([::NSProcessInfo processInfo].operatingSystemVersion.majorVersion);
}

std::vector<std::filesystem::path> MacFileManager::applicationSupportDirectories() const {
    std::vector<std::filesystem::path> directories;
    for (NSURL* url in
         [[::NSFileManager defaultManager] URLsForDirectory:NSApplicationSupportDirectory
                                                  inDomains:NSUserDomainMask])
        directories.push_back(toPath(url));
    return directories;
}

std::filesystem::path MacFileManager::temporaryDirectory() const {
    return toPath([::NSFileManager defaultManager].temporaryDirectory);
}

} // namespace quoxelin
