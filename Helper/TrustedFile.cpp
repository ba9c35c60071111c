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

// Opening with O_PATH has no side effects: it wakes no device and blocks on no pipe.
constexpr int forPathAlone = O_PATH | O_NOFOLLOW | O_CLOEXEC;

/// The names between the slashes; empty if the path is not absolute and normalized.
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

/// Also detects access control lists, because their mask replaces the group's bits.
std::optional<std::string> whyNotKept(const struct stat& status, const Trust& trust) {
    if (status.st_uid != trust.owner)
        return "belongs to another user";
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        return "can be written by others";
    return std::nullopt;
}

std::optional<std::string> whyNotDirectory(int directory, const Trust& trust) {
    struct stat status = {};
    if (::fstat(directory, &status) != 0)
        return std::strerror(errno);
    if (!S_ISDIR(status.st_mode))
        return "is not a directory";
    return whyNotKept(status, trust);
}

std::optional<std::string> whyNotFile(int file, const Trust& trust) {
    struct stat status = {};
    if (::fstat(file, &status) != 0)
        return std::strerror(errno);
    if (S_ISLNK(status.st_mode))
        return "is a symbolic link";
    if (!S_ISREG(status.st_mode))
        return "is not a regular file";
    if (auto reason = whyNotKept(status, trust))
        return reason;
    if ((status.st_mode & (S_ISUID | S_ISGID | S_ISVTX)) != 0)
        return "has a set-id or sticky bit";
    return std::nullopt;
}

bool isExecutable(int file) {
    struct stat status = {};
    return ::fstat(file, &status) == 0 && (status.st_mode & S_IXUSR) != 0;
}

tl::unexpected<std::string> no(const std::string& path, const std::string& reason) {
    return tl::unexpected(path + " " + reason);
}

/// A checked file, opened only for its path.
struct Found {
    TrustedFile place;
    FileDescriptor file;
    std::string path;
};

tl::expected<Found, std::string> find(const std::string& path, const Trust& trust) {
    const auto names = namesIn(path);
    if (!names)
        return no("the path", "is not written plainly");
    std::string walked = trust.root == "/" ? "" : trust.root;
    FileDescriptor directory;
    FileDescriptor current(::open(trust.root.c_str(), forPathAlone | O_DIRECTORY));
    for (const auto& name : *names) {
        if (!current)
            return no(walked + "/", std::strerror(errno));
        if (const auto reason = whyNotDirectory(current.get(), trust))
            return no(walked + "/", *reason);
        walked += "/" + name;
        const bool isLast = &name == &names->back();
        directory = std::move(current);
        current = FileDescriptor(
            ::openat(directory.get(), name.c_str(), forPathAlone | (isLast ? 0 : O_DIRECTORY)));
    }
    if (!current)
        return no(walked, std::strerror(errno));
    if (const auto reason = whyNotFile(current.get(), trust))
        return no(walked, *reason);
    return Found{{std::move(directory), names->back()}, std::move(current), walked};
}

} // namespace

tl::expected<TrustedFile, std::string> openTrusted(const std::string& path, const Trust& trust) {
    auto found = find(path, trust);
    if (!found)
        return tl::unexpected(found.error());
    if (!isExecutable(found->file.get()))
        return no(found->path, "is not executable");
    return std::move(found->place);
}

tl::expected<std::string, std::string> readTrusted(const std::string& path, const Trust& trust) {
    constexpr std::size_t longest = 65536;
    const auto found = find(path, trust);
    if (!found)
        return tl::unexpected(found.error());
    const FileDescriptor file(::openat(found->place.directory.get(), found->place.name.c_str(),
                                       O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    std::string text(longest + 1, '\0');
    const auto count = file ? ::read(file.get(), text.data(), text.size()) : -1;
    if (count < 0)
        return no(found->path, std::strerror(errno));
    text.resize(static_cast<std::size_t>(count));
    if (text.size() > longest)
        return no(found->path, "is too large");
    return text;
}

} // namespace quoxelin::helper
