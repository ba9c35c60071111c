#pragma once

#include <cstdint>
#include <string>

namespace quoxelin {

/// Why a request to the daemon failed.
struct LocalAPIError {
    enum class Case {
        connectFailed,
        writeFailed,
        readFailed,
        httpError,
        socketCreateFailed,
        socketPathTooLong,
        badHTTPResponse,
        decodeFailed,
    };

    Case kind;
    /// The system's text in the first three cases, the body of an HTTP error.
    std::string message = {};
    /// The status of an HTTP error.
    std::int64_t statusCode = 0;

    /// For the user: "HTTP error 404: no such profile".
    std::string errorDescription() const;

    /// For the log: the case with its values, `httpError(404, "no such profile")`.
    std::string debugDescription() const;

    bool operator==(const LocalAPIError&) const = default;
};

} // namespace quoxelin
