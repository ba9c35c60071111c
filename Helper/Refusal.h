#pragma once

#include <string>

namespace quoxelin::helper {

/// Why a request is not carried out, with a sentence for the caller that tells nothing about the
/// system that the caller could not find out anyway.
struct Refusal {
    enum class Reason { invalidArguments, notAuthorised, limitsExceeded, failed };
    Reason reason;
    std::string text;
};

} // namespace quoxelin::helper
