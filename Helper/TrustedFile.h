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

/// A file, identified by its name in an opened directory. Only the trusted user can replace it.
struct TrustedFile {
    FileDescriptor directory;
    std::string name;
};

/// Finds an executable that only the trusted user can have installed and can change. A failure is a
/// text for the log. `path` must be absolute, without ".", ".." and empty names.
///
/// Starts at `root` and opens one name of `path` at a time, relative to the directory before it,
/// without following symbolic links. All directories, including `root`, must belong to the trusted
/// user and be writable by no other. The file must be an executable regular file of the trusted
/// user, writable by no other, without set-id bits. All checks use opened descriptors, so only the
/// trusted user can exchange the file between check and use. Hard links are harmless, because the
/// file still belongs to the trusted user.
tl::expected<TrustedFile, std::string> openTrusted(const std::string& path,
                                                   const Trust& trust = {});

/// The text of a file that passes the same checks but need not be executable. At most 64 KiB.
tl::expected<std::string, std::string> readTrusted(const std::string& path,
                                                   const Trust& trust = {});

} // namespace quoxelin::helper
