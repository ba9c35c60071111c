#pragma once

#include <string>

namespace quoxelin::testing {

// What the store asks the daemon, and network maps without and with the account's name.

inline const std::string getStatus = "GET /localapi/v0/status";
inline const std::string getProfiles = "GET /localapi/v0/profiles";
inline const std::string login = "POST /localapi/v0/login";
inline const std::string bareMap = R"({"NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42}}}})";
inline constexpr const char* annsMap =
    R"({"NetMap":{"SelfNode":{"Node":{"ID":7,"UserID":42,"Name":"laptop",)"
    R"("Addresses":["100.64.0.1","fd7a::1"]}},)"
    R"("UserProfiles":{"42":{"LoginName":"ann@example.com","DisplayName":"Ann"}}}})";

} // namespace quoxelin::testing
