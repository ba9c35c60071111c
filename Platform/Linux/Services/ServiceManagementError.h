#pragma once

#include "Base/Error.h"
#include "Base/Result.h"

namespace quoxelin {

/// The framework's error numbers.
enum class ServiceErrorCode : std::int64_t {
    notPermitted = 1,
    internalFailure = 2,
    jobNotFound = 6,
};

inline tl::unexpected<Error> serviceFailure(ServiceErrorCode code, const std::string& text) {
    return tl::unexpected(Error{"SMAppServiceErrorDomain", static_cast<std::int64_t>(code), text});
}

} // namespace quoxelin
