#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quoxelin {

/// One of the daemon's accounts.
struct ProfileInfo {
    std::string id;
    std::string name;
    std::optional<std::int64_t> nodeId;
    std::optional<std::string> userEmail;
    bool isCurrent = false;

    bool operator==(const ProfileInfo&) const = default;

    template <typename Record, typename Coder>
    static constexpr void describe(Record& record, Coder& coder) {
        coder("id", record.id);
        coder("name", record.name);
        coder("node_id", record.nodeId);
        coder("user_email", record.userEmail);
        coder("is_current", record.isCurrent);
    }
};

} // namespace quoxelin
