#pragma once

#include <string>

namespace quoxelin::helper {

/// Why a request is not carried out.
struct Refusal {
    enum class Reason { invalidArguments, notAuthorized, limitsExceeded, failed };
    Reason reason;
    /// For the caller; says nothing about the system that the caller could not find out anyway.
    std::string text;
    /// For the log.
    std::string detail = {};
};

} // namespace quoxelin::helper
