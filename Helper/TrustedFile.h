#pragma once

#include "Helper/FileDescriptor.h"

#include <string>
#include <sys/types.h>
#include <tl/expected.hpp>

namespace quoxelin::helper {

struct Trust {
    uid_t owner = 0;
    std::string root = "/";
};

/// A file by its name in an opened directory. Only the trusted user can put another in its place.
struct TrustedFile {
    FileDescriptor directory;
    std::string name;
};

/// Finds an executable that only the trusted user can have put there and can change. A failure is a
/// text for the log. `path` is absolute, with neither "." nor ".." nor empty names in it.
///
/// The walk begins at `root` and goes down one name of `path` at a time. Each is opened relative to
/// the directory before it, and symbolic links are not followed. Every directory, `root` included,
/// has to belong to the trusted user and be writable by no other. The file has to be an executable
/// regular file of the trusted user, writable by no other, without set-id bits. All of this is read
/// from opened descriptors, so nothing can be exchanged between check and use, except for the file
/// by the trusted user. Other names of the same file do no harm: it stays the trusted user's.
tl::expected<TrustedFile, std::string> openTrusted(const std::string& path,
                                                   const Trust& trust = {});

/// The text of a file that is trusted in the same way but need not be executable; at most 64 KiB.
tl::expected<std::string, std::string> readTrusted(const std::string& path,
                                                   const Trust& trust = {});

} // namespace quoxelin::helper
