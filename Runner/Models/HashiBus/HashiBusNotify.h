#pragma once

#include "Base/Json.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quoxelin {

/// The state of the daemon's backend.
enum class HashiBusState : int { noState, needsLogin, stopped, starting, running };

std::string_view rawValue(HashiBusState state);

/// Accepts the state's number or its name in any letter case. Unknown ones become `noState`; other
/// JSON types fail.
std::string_view decodeValue(const json::Value& value, HashiBusState& into);
void encodeValue(HashiBusState state, json::Writer& writer);

/// A machine in the network.
struct Node {
    std::int64_t id = 0;
    std::optional<std::string> name;
    std::optional<std::vector<std::string>> addresses;
    std::optional<std::string> key;
    std::optional<std::vector<std::string>> allowedIPs;
    std::optional<std::vector<std::string>> endpoints;
    std::optional<std::string> nodeKey;
    std::optional<std::string> os;
    std::int64_t userID = 0;

    bool operator==(const Node&) const = default;

    template <typename Record, typename Coder>
    static constexpr void describe(Record& record, Coder& coder) {
        coder("ID", record.id);
        coder("Name", record.name);
        coder("Addresses", record.addresses);
        coder("Key", record.key);
        coder("AllowedIPs", record.allowedIPs);
        coder("Endpoints", record.endpoints);
        coder("NodeKey", record.nodeKey);
        coder("OS", record.os);
        coder("UserID", record.userID);
    }
};

struct NodeView {
    std::optional<Node> node;

    bool operator==(const NodeView&) const = default;

    template <typename Record, typename Coder>
    static constexpr void describe(Record& record, Coder& coder) {
        coder("Node", record.node);
    }
};

struct UserProfile {
    std::optional<std::string> loginName;
    std::optional<std::string> displayName;
    std::optional<std::string> profileUrl;

    bool operator==(const UserProfile&) const = default;

    template <typename Record, typename Coder>
    static constexpr void describe(Record& record, Coder& coder) {
        coder("LoginName", record.loginName);
        coder("DisplayName", record.displayName);
        coder("ProfileURL", record.profileUrl);
    }
};

/// The network from this node's view.
struct NetworkMap {
    std::optional<NodeView> selfNode;
    std::optional<std::string> nodeKey;
    std::optional<std::string> privateWgKey;
    std::optional<json::Later<std::vector<NodeView>>> peers;
    std::optional<std::string> dnsName;
    /// Keyed by the user identifier in decimal.
    std::optional<json::Later<std::map<std::string, UserProfile>>> userProfiles;

    bool operator==(const NetworkMap&) const = default;

    template <typename Record, typename Coder>
    static constexpr void describe(Record& record, Coder& coder) {
        coder("SelfNode", record.selfNode);
        coder("NodeKey", record.nodeKey);
        coder("PrivateWgKey", record.privateWgKey);
        coder("Peers", record.peers);
        coder("DNSName", record.dnsName);
        coder("UserProfiles", record.userProfiles);
    }
};

/// One line of the daemon's notification stream. It holds only the changes.
struct HashiBusNotify {
    std::optional<std::string> version;
    std::optional<std::string> errMessage;
    std::optional<HashiBusState> state;
    std::optional<NetworkMap> netMap;
    std::optional<std::string> interactiveLoginUrl;
    std::optional<bool> jailed;
    std::optional<std::string> jailReason;

    bool operator==(const HashiBusNotify&) const = default;

    template <typename Record, typename Coder>
    static constexpr void describe(Record& record, Coder& coder) {
        coder("Version", record.version);
        coder("ErrMessage", record.errMessage);
        coder("State", record.state);
        coder("NetMap", record.netMap);
        coder("InteractiveLoginUrl", record.interactiveLoginUrl);
        coder("Jailed", record.jailed);
        coder("JailReason", record.jailReason);
    }
};

} // namespace quoxelin
