#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace quoxelin {

/// The JSON status printed by the command-line tool.
struct HashiStatus {
    struct PeerStatus {
        std::optional<std::int64_t> id;
        std::optional<std::string> publicKey;
        std::optional<std::string> os;
        std::optional<std::string> hostName;
        std::optional<std::vector<std::string>> quoxelinIPs;
        std::optional<std::vector<std::string>> peerAPIURL;
        std::optional<std::int64_t> rxBytes;
        std::optional<std::int64_t> txBytes;
        std::optional<std::string> lastHandshake;
        std::optional<std::string> lastWrite;

        bool operator==(const PeerStatus&) const = default;

        template <typename Record, typename Coder>
        static constexpr void describe(Record& record, Coder& coder) {
            coder("id", record.id);
            coder("public_key", record.publicKey);
            coder("os", record.os);
            coder("host_name", record.hostName);
            coder("quoxelin_ips", record.quoxelinIPs);
            coder("peer_api_url", record.peerAPIURL);
            coder("rx_bytes", record.rxBytes);
            // The tool's spelling of the two counters differs.
            coder("tx_Bytes", record.txBytes);
            coder("last_handshake", record.lastHandshake);
            coder("last_write", record.lastWrite);
        }
    };

    std::string backendState;
    std::optional<std::vector<std::string>> quoxelinIPs;
    std::optional<std::string> interactiveLoginURL;
    std::optional<PeerStatus> selfPeerStatus;
    /// Keyed by the peer's key.
    std::optional<std::map<std::string, PeerStatus>> peer;

    bool operator==(const HashiStatus&) const = default;

    template <typename Record, typename Coder>
    static constexpr void describe(Record& record, Coder& coder) {
        coder("backend_state", record.backendState);
        coder("quoxelin_ips", record.quoxelinIPs);
        coder("interactive_login_url", record.interactiveLoginURL);
        coder("self", record.selfPeerStatus);
        coder("peer", record.peer);
    }
};

/// Absent if the text is not a status. Prints the result, or why there is none, to standard output
/// for debugging; prints nothing for text that is not UTF-8.
std::optional<HashiStatus> stringJsonToHashiStatus(const std::string& jsonString);

} // namespace quoxelin
