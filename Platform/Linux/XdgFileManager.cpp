#include "Platform/Linux/XdgFileManager.h"

#include <array>
#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace quoxelin {

namespace {

/// The base directory rules ignore a relative path.
std::optional<std::filesystem::path> absolutePathIn(const char* variable) {
    const char* value = std::getenv(variable);
    if (value == nullptr || *value != '/')
        return std::nullopt;
    return value;
}

std::optional<std::filesystem::path> homeDirectory() {
    if (auto home = absolutePathIn("HOME"))
        return home;
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 16384> buffer;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr && found->pw_dir != nullptr && *found->pw_dir == '/')
        return found->pw_dir;
    return std::nullopt;
}

} // namespace

std::vector<std::filesystem::path> XdgFileManager::applicationSupportDirectories() const {
    if (const auto data = absolutePathIn("XDG_DATA_HOME"))
        return {*data};
    if (const auto home = homeDirectory())
        return {*home / ".local" / "share"};
    return {};
}

std::filesystem::path XdgFileManager::temporaryDirectory() const {
    std::error_code failure;
    const auto directory = std::filesystem::temp_directory_path(failure);
    return failure ? "/tmp" : directory;
}

} // namespace quoxelin
