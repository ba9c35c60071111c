#pragma once

#include "Runner/Models/HashiBus/ProfileInfo.h"

#include <string>
#include <vector>

namespace quoxelin {

/// All of the daemon's accounts and the current one.
struct ProfilesResponse {
    std::string currentProfileId;
    std::vector<ProfileInfo> profiles;

    bool operator==(const ProfilesResponse&) const = default;

    template <typename Record, typename Coder>
    static constexpr void describe(Record& record, Coder& coder) {
        coder("current_profile_id", record.currentProfileId);
        coder("profiles", record.profiles);
    }
};

} // namespace quoxelin
