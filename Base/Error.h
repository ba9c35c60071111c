#pragma once

#include <cstdint>
#include <string>

namespace quoxelin {

/// A platform error as the frameworks report it: which framework, which of its codes, and a text
/// for people.
struct Error {
    std::string domain;
    std::int64_t code = 0;
    std::string localizedDescription;

    bool operator==(const Error&) const = default;
};

} // namespace quoxelin
