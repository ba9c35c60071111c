#pragma once

#include "Helper/FileDescriptor.h"

#include <string>
#include <sys/types.h>
#include <tl/expected.hpp>

namespace quoxelin::helper {

/// Opens an executable that nobody but the trusted user can have put there or can change.
///
/// The walk begins at `root` and goes down one name of `path` at a time, each opened relative to
/// the directory before it and none of them followed when it is a symbolic link. Every directory,
/// `root` included, has to belong to the trusted user and be writable by nobody else. The file has
/// to be an executable regular file of the trusted user, writable by nobody else, without set-id
/// bits and without a second name. All of this is read from what has been opened, so that nothing
/// can be exchanged between the check and the use of the descriptor.
///
/// The descriptor is good for executing the file and for nothing else. A failure is a text for the
/// log. `path` is absolute, with neither "." nor ".." nor empty names in it.
struct Trust {
    uid_t owner = 0;
    std::string root = "/";
};
tl::expected<FileDescriptor, std::string> openTrusted(const std::string& path,
                                                      const Trust& trust = {});

} // namespace quoxelin::helper
