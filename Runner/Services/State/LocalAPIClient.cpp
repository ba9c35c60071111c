#include "Runner/Services/State/LocalAPIClient.h"

#include "Base/Connection.h"
#include "Base/Immortal.h"
#include "Base/Json.h"
#include "Base/Url.h"
#include "Base/Utf8.h"
#include "Platform/Platform.h"
#include "Runner/Shared/AppLogger.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <fmt/format.h>
#include <functional>
#include <new>
#include <vector>

namespace quoxelin {

namespace {

constexpr std::size_t reservedForResponse = 32'768;
constexpr std::size_t chunkSize = 16'384;
constexpr std::size_t responseLimit = 1'048'576;

using Case = LocalAPIError::Case;
using Outcome = Result<LocalAPIClient::Bytes, LocalAPIError>;

tl::unexpected<LocalAPIError> failed(Case kind, std::string message = {}) {
    return tl::unexpected(LocalAPIError{kind, std::move(message)});
}

tl::unexpected<LocalAPIError> failed(const ConnectError& failure) {
    switch (failure.reason) {
    case ConnectError::Reason::socketCreateFailed:
        return failed(Case::socketCreateFailed);
    case ConnectError::Reason::socketPathTooLong:
        return failed(Case::socketPathTooLong);
    case ConnectError::Reason::connectFailed:
        break;
    }
    return failed(Case::connectFailed, failure.error.message());
}

/// A response split at its first empty line.
struct Response {
    std::string_view header;
    std::string_view body;
};

/// Reads until the daemon closes the connection or the response exceeds the size limit.
Outcome readResponse(Connection& connection, AppLogger& logger) {
    LocalAPIClient::Bytes response;
    response.reserve(reservedForResponse);
    std::vector<char> scratch(chunkSize);
    for (;;) {
        const auto count = connection.read(scratch);
        if (!count)
            return failed(Case::readFailed, count.error().message());
        if (*count == 0)
            return response;
        response.append(scratch.data(), *count);
        if (response.size() > responseLimit) {
            logger.log("LocalAPI",
                       fmt::format("Response too large ({} bytes), truncating", response.size()));
            return response;
        }
    }
}

/// Converts the response to the operation's result.
using Interpret = std::function<Outcome(const Response&)>;

Outcome exchange(Connection& connection, const std::string& request, const Interpret& interpret,
                 AppLogger& logger) {
    const auto written = connection.write(request);
    if (!written)
        return failed(Case::writeFailed, written.error().message());
    // The socket's buffer takes any of our requests in one write, so a short write is a failure.
    if (*written != request.size())
        return failed(Case::writeFailed, SystemError::last().message());
    return readResponse(connection, logger).and_then([&](const std::string& bytes) -> Outcome {
        const auto separator = bytes.find("\r\n\r\n");
        if (separator == std::string::npos)
            return failed(Case::badHTTPResponse);
        const std::string_view whole = bytes;
        return interpret({whole.substr(0, separator), whole.substr(separator + 4)});
    });
}

/// Leaves the connection open for the caller to close.
Outcome attempt(const LocalAPIClient::Dependencies& dependencies, const std::string& socketPath,
                const std::string& request, const Interpret& interpret,
                std::unique_ptr<Connection>& connection) try {
    auto connected = dependencies.connector.connect(socketPath);
    if (!connected)
        return failed(connected.error());
    connection = *std::move(connected);
    return exchange(*connection, request, interpret, dependencies.logger);
} catch (const std::bad_alloc&) {
    return failed(Case::readFailed, SystemError{ENOMEM}.message());
}

/// Sends one request over a new connection, on a background thread, and calls the completion there.
/// Uses only those dependencies that live as long as the process, never the client.
void perform(const LocalAPIClient::Dependencies& dependencies, const std::string& socketPath,
             std::string request, Interpret interpret,
             Completion<LocalAPIClient::Bytes, LocalAPIError> completion) {
    dependencies.dispatch.global(QualityOfService::userInitiated)
        .async([dependencies, socketPath, request = std::move(request),
                interpret = std::move(interpret), completion = std::move(completion)] {
            std::unique_ptr<Connection> connection; // closes after the completion returns
            completion(attempt(dependencies, socketPath, request, interpret, connection));
        });
}

/// Lenient: absent unless the second word of the first line is a decimal number.
std::optional<std::int64_t> statusCodeIn(std::string_view header) {
    if (!isValidUtf8(header))
        return std::nullopt;
    auto line = header.substr(0, header.find("\r\n"));
    const auto takeWord = [&line] {
        line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
        const auto word = line.substr(0, line.find(' '));
        line.remove_prefix(word.size());
        return word;
    };
    takeWord();
    auto word = takeWord();
    if (word.size() > 1 && word[0] == '+' && word[1] != '-')
        word.remove_prefix(1);
    std::int64_t code = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), code);
    if (error != std::errc() || end != word.data() + word.size())
        return std::nullopt;
    return code;
}

Completion<LocalAPIClient::Bytes, LocalAPIError>
ignoringBody(Completion<void, LocalAPIError> completion) {
    return [completion = std::move(completion)](Outcome outcome) {
        completion(outcome.map([](const LocalAPIClient::Bytes&) {}));
    };
}

/// Accepts the key in several spellings.
constexpr std::array<std::string_view, 7> loginURLKeys = {
    "interactive_login_url", "interactiveLoginURL", "interactiveLoginUrl", "InteractiveLoginURL",
    "InteractiveLoginUrl",   "InteractiveLoginUrl", "InteractiveLoginURL"};

std::optional<std::string> nonEmptyString(const json::Value& value) {
    const auto text = value.string();
    return text && !text->empty() ? std::optional<std::string>(*text) : std::nullopt;
}

/// Depth first, in document order. The parser limits the depth.
std::optional<std::string> searchLoginURL(const json::Value& value) {
    for (const auto& [key, member] : value.members()) {
        const bool isNamed =
            std::find(loginURLKeys.begin(), loginURLKeys.end(), key) != loginURLKeys.end();
        if (auto url = isNamed ? nonEmptyString(member) : std::nullopt)
            return url;
        if (auto url = searchLoginURL(member))
            return url;
    }
    for (const auto& element : value.elements()) {
        if (auto url = searchLoginURL(element))
            return url;
    }
    return std::nullopt;
}

} // namespace

LocalAPIClient::LocalAPIClient(const Dependencies& dependencies, std::string socketPath)
    : dependencies(dependencies), socketPath(std::move(socketPath)) {}

LocalAPIClient& LocalAPIClient::shared() {
    static auto& instance = immortal([&platform = Platform::current()] {
        return LocalAPIClient({platform.dispatch, platform.connector, AppLogger::shared()},
                              platform.daemonSocketPath);
    });
    return instance;
}

void LocalAPIClient::getStatus(Completion<DaemonStatus, LocalAPIError> completion) {
    using Status = Result<DaemonStatus, LocalAPIError>;
    sendRequest("GET", "/localapi/v0/status", [completion = std::move(completion)](Outcome body) {
        completion(body.and_then([](const Bytes& bytes) -> Status {
            auto status = DaemonStatus::parse(bytes);
            if (!status)
                return failed(Case::decodeFailed);
            return *std::move(status);
        }));
    });
}

void LocalAPIClient::getProfiles(Completion<ProfilesResponse, LocalAPIError> completion) {
    using Profiles = Result<ProfilesResponse, LocalAPIError>;
    sendRequest("GET", "/localapi/v0/profiles",
                [completion = std::move(completion), &logger = dependencies.logger](Outcome body) {
                    completion(body.and_then([&](const Bytes& bytes) -> Profiles {
                        auto profiles = json::decode<ProfilesResponse>(bytes);
                        if (!profiles) {
                            logger.log("LocalAPI", "Failed to decode profiles response: " +
                                                       profiles.error().description);
                            return failed(Case::decodeFailed);
                        }
                        return *std::move(profiles);
                    }));
                });
}

void LocalAPIClient::switchProfile(const std::string& id,
                                   Completion<void, LocalAPIError> completion) {
    sendRequest("POST", "/localapi/v0/profiles/switch?id=" + percentEncodedForQuery(id),
                ignoringBody(std::move(completion)));
}

void LocalAPIClient::switchToEmptyProfile(Completion<void, LocalAPIError> completion) {
    sendRequest("POST", "/localapi/v0/profiles/switch-to-empty",
                ignoringBody(std::move(completion)));
}

void LocalAPIClient::triggerLogin(Completion<void, LocalAPIError> completion) {
    sendRequest("POST", "/localapi/v0/login", ignoringBody(std::move(completion)));
}

void LocalAPIClient::setWantRunning(bool wantRunning, Completion<void, LocalAPIError> completion) {
    sendRequestWithBody("PATCH", "/localapi/v0/hatago",
                        fmt::format("{{\"WantRunning\":{},\"WantRunningSet\":true}}", wantRunning),
                        ignoringBody(std::move(completion)));
}

void LocalAPIClient::startLogin(Completion<std::string, LocalAPIError> completion) {
    // Ignore the status line: any reply with a login URL is a success.
    perform(
        dependencies, socketPath,
        "POST /localapi/v0/login HTTP/1.1\r\nHost: local-quoxelind.sock\r\nContent-Length: "
        "0\r\nConnection: close\r\n\r\n",
        [](const Response& response) -> Outcome {
            auto url = extractInteractiveLoginURL(response.body);
            if (!url || url->empty())
                return failed(Case::decodeFailed);
            return *std::move(url);
        },
        std::move(completion));
}

std::optional<std::string> LocalAPIClient::extractInteractiveLoginURL(std::string_view body) {
    const auto top = json::parse(body);
    if (!top || !top->isObject())
        return std::nullopt;
    for (const auto key : loginURLKeys) {
        const auto* const member = top->find(key);
        if (auto url = member ? nonEmptyString(*member) : std::nullopt)
            return url;
    }
    return searchLoginURL(*top);
}

void LocalAPIClient::sendRequest(std::string method, std::string path,
                                 Completion<Bytes, LocalAPIError> completion) {
    sendRequestWithBody(std::move(method), std::move(path), std::nullopt, std::move(completion));
}

void LocalAPIClient::sendRequestWithBody(std::string method, std::string path,
                                         std::optional<Bytes> body,
                                         Completion<Bytes, LocalAPIError> completion) {
    auto request =
        fmt::format("{} {} HTTP/1.1\r\n"
                    "Host: local-quoxelind.sock\r\n"
                    "Content-Length: {}\r\n"
                    "Connection: close\r\n"
                    "{}"
                    "\r\n"
                    "{}",
                    method, path, body ? body->size() : 0,
                    body ? "Content-Type: application/json\r\n" : "", body.value_or(Bytes()));
    perform(
        dependencies, socketPath, std::move(request),
        [method = std::move(method), path = std::move(path),
         &logger = dependencies.logger](const Response& response) -> Outcome {
            const auto code = statusCodeIn(response.header);
            if (!code || *code < 400)
                return Bytes(response.body);
            LocalAPIError error{Case::httpError, {}, *code};
            if (isValidUtf8(response.body))
                error.message = response.body;
            logger.log("LocalAPI", fmt::format("HTTP error {} for {} {}: {}", *code, method, path,
                                               error.message));
            return tl::unexpected(std::move(error));
        },
        std::move(completion));
}

} // namespace quoxelin
