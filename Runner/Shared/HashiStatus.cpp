#include "Runner/Shared/HashiStatus.h"

#include "Base/Json.h"
#include "Base/Utf8.h"

#include <cstdio>

namespace quoxelin {

namespace {

/// In quotes, with line breaks escaped.
std::string quoted(const std::string& text) {
    json::Writer writer;
    writer.string(text);
    return writer.text();
}

void printLine(const std::string& line) {
    // Unlike formatted output, this does not throw if the output is closed.
    std::fputs((line + '\n').c_str(), stdout);
}

void printStatus(const HashiStatus& status) {
    printLine(quoted("-------------------------------"));
    printLine("HashiStatus" + json::encode(status));
    if (status.interactiveLoginURL)
        printLine(quoted("InteractiveLoginURL:") + ' ' + quoted(*status.interactiveLoginURL));
    if (!status.peer)
        return;
    for (const auto& [key, peer] : *status.peer)
        printLine(quoted("  Peer HostName:") + ' ' +
                  (peer.hostName ? quoted(*peer.hostName) : "nil"));
}

} // namespace

std::optional<HashiStatus> stringJsonToHashiStatus(const std::string& jsonString) {
    if (!isValidUtf8(jsonString))
        return std::nullopt;
    auto status = json::decode<HashiStatus>(jsonString);
    if (!status) {
        printLine(quoted("Json Decoded Error:") + ' ' + quoted(status.error().description));
        return std::nullopt;
    }
    printStatus(*status);
    return *std::move(status);
}

} // namespace quoxelin
