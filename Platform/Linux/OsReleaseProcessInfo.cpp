#include "Platform/Linux/OsReleaseProcessInfo.h"

#include <charconv>
#include <fstream>
#include <sstream>

namespace quoxelin {

namespace {

std::string osRelease() {
    for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
        std::ifstream file(path);
        if (!file)
            continue;
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }
    return {};
}

} // namespace

OsReleaseProcessInfo::OsReleaseProcessInfo(const NSBundle& bundle, const std::string& program)
    : name(bundle.stringForInfoDictionaryKey("CFBundleName")
               .value_or(std::filesystem::path(program).filename().string())),
      majorVersion(majorVersionIn(osRelease())) {}

int OsReleaseProcessInfo::majorVersionIn(const std::string& osRelease) {
    std::istringstream lines(osRelease);
    const std::string key = "VERSION_ID=";
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind(key, 0) != 0)
            continue;
        const auto digits = line.find_first_not_of("\"'", key.size());
        int version = 0;
        if (digits != std::string::npos)
            std::from_chars(line.data() + digits, line.data() + line.size(), version);
        return version;
    }
    return 0;
}

} // namespace quoxelin
