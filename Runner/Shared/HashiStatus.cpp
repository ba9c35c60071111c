#include "Runner/Shared/HashiStatus.h"

#include "Base/JsonDecoder.h"
#include "Base/Utf8.h"

#include <cstdio>

namespace quoxelin {

namespace {

/// In quotes, with line breaks escaped.
std::string inQuotes(const std::string& text) {
    return json::serialize(text);
}

void printLine(const std::string& line) {
    // Unlike formatted output, this does not throw if the output is closed.
    std::fputs((line + '\n').c_str(), stdout);
}

void printStatus(const HashiStatus& status) {
    printLine(inQuotes("-------------------------------"));
    printLine("HashiStatus" + json::encode(status));
    if (status.interactiveLoginURL)
        printLine(inQuotes("InteractiveLoginURL:") + ' ' + inQuotes(*status.interactiveLoginURL));
    if (!status.peer)
        return;
    for (const auto& [key, peer] : *status.peer)
        printLine(inQuotes("  Peer HostName:") + ' ' +
                  (peer.hostName ? inQuotes(*peer.hostName) : "nil"));
}

} // namespace

std::optional<HashiStatus> stringJsonToHashiStatus(const std::string& jsonString) {
    if (!isValidUtf8(jsonString))
        return std::nullopt;
    auto status = json::decode<HashiStatus>(jsonString);
    if (!status) {
        printLine(inQuotes("Json Decoded Error:") + ' ' + inQuotes(status.error().description));
        return std::nullopt;
    }
    printStatus(*status);
    return *std::move(status);
}

} // namespace quoxelin
