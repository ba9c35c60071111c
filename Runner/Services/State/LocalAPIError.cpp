#include "Runner/Services/State/LocalAPIError.h"

#include <fmt/format.h>

namespace quoxelin {

namespace {

std::string quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\')
            quoted += {'\\', c};
        else if (c == '\n')
            quoted += "\\n";
        else if (c == '\r')
            quoted += "\\r";
        else if (c == '\t')
            quoted += "\\t";
        else if (byte < 0x20 || byte == 0x7F)
            quoted += fmt::format("\\u{{{:X}}}", byte);
        else
            quoted += c;
    }
    return quoted + '"';
}

} // namespace

std::string LocalAPIError::errorDescription() const {
    switch (kind) {
    case Case::connectFailed:
        return "Failed to connect to quoxelind socket: " + message;
    case Case::writeFailed:
        return "Failed to write request: " + message;
    case Case::readFailed:
        return "Failed to read response: " + message;
    case Case::httpError:
        return fmt::format("HTTP error {}: {}", statusCode, message);
    case Case::socketCreateFailed:
        return "Failed to create unix domain socket";
    case Case::socketPathTooLong:
        return "Socket path too long";
    case Case::badHTTPResponse:
        return "Bad HTTP response from LocalAPI";
    case Case::decodeFailed:
        return "Failed to decode LocalAPI JSON response";
    }
    return {};
}

std::string LocalAPIError::debugDescription() const {
    switch (kind) {
    case Case::connectFailed:
        return "connectFailed(" + quoted(message) + ")";
    case Case::writeFailed:
        return "writeFailed(" + quoted(message) + ")";
    case Case::readFailed:
        return "readFailed(" + quoted(message) + ")";
    case Case::httpError:
        return fmt::format("httpError({}, {})", statusCode, quoted(message));
    case Case::socketCreateFailed:
        return "socketCreateFailed";
    case Case::socketPathTooLong:
        return "socketPathTooLong";
    case Case::badHTTPResponse:
        return "badHTTPResponse";
    case Case::decodeFailed:
        return "decodeFailed";
    }
    return {};
}

} // namespace quoxelin
