#pragma once

#include <cerrno>
#include <string>
#include <system_error>

namespace quoxelin {

/// An error number of the operating system.
struct SystemError {
    int number = 0;

    /// The error number that the calling thread's last failed system call left behind.
    static SystemError last() { return {errno}; }

    /// The operating system's text for the number ("Connection refused").
    std::string message() const { return std::generic_category().message(number); }

    bool operator==(const SystemError&) const = default;
};

} // namespace quoxelin
