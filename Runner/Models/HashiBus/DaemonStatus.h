#pragma once

#include "Base/Json.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quoxelin {

/// The daemon's answer to a status request. A field is absent if its member is missing or of
/// another type.
struct DaemonStatus {
    struct SelfNode {
        /// 0 if the daemon sends none.
        std::int64_t id = 0;
        std::optional<std::string> hostName;
        std::optional<std::vector<std::string>> addresses;

        bool operator==(const SelfNode&) const = default;
    };

    std::optional<std::string> backendState;
    std::optional<std::string> interactiveLoginUrl;
    std::optional<std::vector<std::string>> quoxelinIps;
    std::optional<SelfNode> selfNode;
    /// Not part of the daemon's answer; other sources may fill them.
    std::optional<std::string> email;
    std::optional<std::string> userName;
    std::optional<bool> jailed;
    std::optional<std::string> jailReason;

    bool operator==(const DaemonStatus&) const = default;

    /// Fails only if the text is not JSON or its top level is not an object.
    static Result<DaemonStatus, json::Error> parse(std::string_view body);
};

} // namespace quoxelin
