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
    /// The system's text of the first three cases, the body of an HTTP error.
    std::string message = {};
    /// Of an HTTP error.
    std::int64_t statusCode = 0;

    /// For people: "HTTP error 404: no such profile".
    std::string errorDescription() const;

    /// In full, for the log: the case with what it carries, `httpError(404, "no such profile")`.
    std::string debugDescription() const;

    bool operator==(const LocalAPIError&) const = default;
};

} // namespace quoxelin
