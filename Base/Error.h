#pragma once

#include <cstdint>
#include <string>

namespace quoxelin {

/// A platform error as the frameworks report it: the framework, its error code and a readable text.
struct Error {
    std::string domain;
    std::int64_t code = 0;
    std::string localizedDescription;

    bool operator==(const Error&) const = default;
};

} // namespace quoxelin
