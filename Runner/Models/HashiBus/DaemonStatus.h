#pragma once

#include "Base/Json.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quoxelin {

/// The daemon's status as it answers when asked. Every field is optional: a member that is missing
/// or of another type leaves its field absent.
struct DaemonStatus {
    struct SelfNode {
        /// 0 when the daemon sends none.
        std::int64_t id = 0;
        std::optional<std::string> hostName;
        std::optional<std::vector<std::string>> addresses;

        bool operator==(const SelfNode&) const = default;
    };

    std::optional<std::string> backendState;
    std::optional<std::string> interactiveLoginUrl;
    std::optional<std::vector<std::string>> quoxelinIps;
    std::optional<SelfNode> selfNode;
    /// The daemon's status holds neither; who else makes such a record may fill them.
    std::optional<std::string> email;
    std::optional<std::string> userName;
    std::optional<bool> jailed;
    std::optional<std::string> jailReason;

    bool operator==(const DaemonStatus&) const = default;

    /// Fails only when the text is no JSON or its top level no object.
    static Result<DaemonStatus, json::Error> parse(std::string_view body);
};

} // namespace quoxelin
