#pragma once

#include <string>

namespace quoxelin::helper {

/// Why a request is refused.
struct Refusal {
    enum class Reason { invalidArguments, notAuthorized, limitsExceeded, failed };
    Reason reason;
    /// For the caller. Reveals nothing about the system that the caller cannot see anyway.
    std::string text;
    /// For the log.
    std::string detail = {};
};

} // namespace quoxelin::helper
