#include "Helper/TrustedFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace quoxelin::helper {

namespace {

// Opening for the path alone has no side effect, whatever stands there: no device wakes up, no
// pipe blocks.
constexpr int forPathAlone = O_PATH | O_NOFOLLOW | O_CLOEXEC;

/// The names between the slashes; none when the path is not written plainly.
std::optional<std::vector<std::string>> namesIn(std::string_view path) {
    std::vector<std::string> names;
    if (path.empty() || path.front() != '/')
        return std::nullopt;
    while (!path.empty()) {
        path.remove_prefix(1);
        const auto end = path.find('/');
        const auto name = path.substr(0, end);
        if (name.empty() || name == "." || name == ".." || name.find('\0') != name.npos)
            return std::nullopt;
        names.emplace_back(name);
        path.remove_prefix(name.size());
    }
    return names;
}

/// Access control lists show here, too: their mask stands where the group's bits are.
std::optional<std::string> whyNotKept(const struct stat& status, const Trust& trust) {
    if (status.st_uid != trust.owner)
        return "belongs to somebody else";
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        return "can be written by others";
    return std::nullopt;
}

std::optional<std::string> whyNotDirectory(int directory, const Trust& trust) {
    struct stat status = {};
    if (::fstat(directory, &status) != 0)
        return std::strerror(errno);
    if (!S_ISDIR(status.st_mode))
        return "is no directory";
    return whyNotKept(status, trust);
}

std::optional<std::string> whyNotExecutable(int file, const Trust& trust) {
    struct stat status = {};
    if (::fstat(file, &status) != 0)
        return std::strerror(errno);
    if (S_ISLNK(status.st_mode))
        return "is a symbolic link";
    if (!S_ISREG(status.st_mode))
        return "is no regular file";
    if (auto reason = whyNotKept(status, trust))
        return reason;
    if ((status.st_mode & (S_ISUID | S_ISGID | S_ISVTX)) != 0)
        return "has a set-id or sticky bit";
    if (status.st_nlink != 1)
        return "has another name";
    if ((status.st_mode & S_IXUSR) == 0)
        return "is not executable";
    return std::nullopt;
}

tl::unexpected<std::string> no(const std::string& path, const std::string& reason) {
    return tl::unexpected(path + " " + reason);
}

} // namespace

tl::expected<FileDescriptor, std::string> openTrusted(const std::string& path, const Trust& trust) {
    const auto names = namesIn(path);
    if (!names)
        return no("the path", "is not written plainly");
    std::string walked = trust.root == "/" ? "" : trust.root;
    FileDescriptor directory(::open(trust.root.c_str(), forPathAlone | O_DIRECTORY));
    for (const auto& name : *names) {
        if (!directory)
            return no(walked + "/", std::strerror(errno));
        if (const auto reason = whyNotDirectory(directory.get(), trust))
            return no(walked + "/", *reason);
        walked += "/" + name;
        const bool isLast = &name == &names->back();
        directory = FileDescriptor(
            ::openat(directory.get(), name.c_str(), forPathAlone | (isLast ? 0 : O_DIRECTORY)));
    }
    FileDescriptor file = std::move(directory);
    if (!file)
        return no(walked, std::strerror(errno));
    if (const auto reason = whyNotExecutable(file.get(), trust))
        return no(walked, *reason);
    return file;
}

} // namespace quoxelin::helper
