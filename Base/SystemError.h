#pragma once

#include <cerrno>
#include <string>
#include <system_error>

namespace quoxelin {

/// An operating system error number.
struct SystemError {
    int number = 0;

    /// The error of the calling thread's last failed system call.
    static SystemError last() { return {errno}; }

    /// The operating system's text for the number, for example "Connection refused".
    std::string message() const { return std::generic_category().message(number); }

    bool operator==(const SystemError&) const = default;
};

} // namespace quoxelin
