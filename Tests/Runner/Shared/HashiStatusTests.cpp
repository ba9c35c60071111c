#include "Runner/Shared/HashiStatus.h"

#include "Base/Json.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <utility>

namespace quoxelin::testing {

namespace {

/// The decoded record, and the output written while decoding.
std::pair<std::optional<HashiStatus>, std::string> decoded(const std::string& text) {
    ::testing::internal::CaptureStdout();
    auto status = stringJsonToHashiStatus(text);
    std::fflush(stdout);
    return {std::move(status), ::testing::internal::GetCapturedStdout()};
}

HashiStatus fullStatus() {
    HashiStatus::PeerStatus self;
    self.id = 1;
    self.publicKey = "key";
    self.os = "macOS";
    self.hostName = "host";
    self.quoxelinIPs = {"100.64.0.1"};
    self.peerAPIURL = {"http://peer"};
    self.rxBytes = 10;
    self.txBytes = 20;
    self.lastHandshake = "2024-05-01";
    self.lastWrite = "2024-05-02";
    HashiStatus::PeerStatus first;
    first.hostName = "first";
    HashiStatus status;
    status.backendState = "Running";
    status.quoxelinIPs = {"100.64.0.1", "fd7a::1"};
    status.interactiveLoginURL = "https://login.example/a";
    status.selfPeerStatus = self;
    status.peer = {{"b", {}}, {"a", first}};
    return status;
}

constexpr const char* fullText =
    R"({"backend_state":"Running","quoxelin_ips":["100.64.0.1","fd7a::1"],)"
    R"("interactive_login_url":"https://login.example/a",)"
    R"("self":{"id":1,"public_key":"key","os":"macOS","host_name":"host",)"
    R"("quoxelin_ips":["100.64.0.1"],"peer_api_url":["http://peer"],"rx_bytes":10,)"
    R"("tx_Bytes":20,"last_handshake":"2024-05-01","last_write":"2024-05-02"},)"
    R"("peer":{"a":{"host_name":"first"},"b":{}}})";

} // namespace

TEST(HashiStatus, isReadAndWrittenUnderTheToolsKeys) {
    EXPECT_EQ(decoded(fullText).first, fullStatus());
    EXPECT_EQ(json::encode(fullStatus()), fullText);
    EXPECT_EQ(json::encode(HashiStatus{"Stopped", {}, {}, {}, {}}),
              R"({"backend_state":"Stopped"})");
}

TEST(HashiStatus, readsTheSentBytesOnlyUnderTheToolsSpelling) {
    const auto [status, ignored] =
        decoded(R"({"backend_state":"","self":{"rx_bytes":1,"tx_bytes":2,"rx_Bytes":3}})");
    ASSERT_TRUE(status && status->selfPeerStatus);
    EXPECT_EQ(status->selfPeerStatus->rxBytes, 1);
    EXPECT_EQ(status->selfPeerStatus->txBytes, std::nullopt);
}

TEST(HashiStatus, ignoresUnknownKeysAndTreatsNullAsAbsent) {
    const auto [status, ignored] = decoded(
        R"({"backend_state":"Running","self":null,"peer":null,"quoxelin_ips":null,"x":{"y":[]}})");
    EXPECT_EQ(status, (HashiStatus{"Running", {}, {}, {}, {}}));
}

TEST(HashiStatus, failsAsAWholeForOneMistypedMember) {
    for (const auto* const text :
         {R"({"backend_state":"","quoxelin_ips":["a",1]})", R"({"backend_state":"","self":[]})",
          R"({"backend_state":"","self":{"id":"1"}})", R"({"backend_state":"","peer":{"a":null}})",
          R"({"backend_state":"","peer":{"a":{"tx_Bytes":1.5}}})", R"({"backend_state":null})"})
        EXPECT_EQ(decoded(text).first, std::nullopt) << text;
}

TEST(HashiStatus, showsADeveloperWhatItFound) {
    EXPECT_EQ(decoded(fullText).second, "\"-------------------------------\"\n"
                                        "HashiStatus" +
                                            std::string(fullText) +
                                            "\n"
                                            "\"InteractiveLoginURL:\" \"https://login.example/a\"\n"
                                            "\"  Peer HostName:\" \"first\"\n"
                                            "\"  Peer HostName:\" nil\n");
    EXPECT_EQ(decoded(R"({"backend_state":"Stopped"})").second,
              "\"-------------------------------\"\nHashiStatus{\"backend_state\":\"Stopped\"}\n");
}

TEST(HashiStatus, keepsOddHostNamesOnTheirLine) {
    const auto output =
        decoded(R"({"backend_state":"","peer":{"k":{"host_name":"a\n\"b\""}}})").second;
    EXPECT_NE(output.find("\"  Peer HostName:\" \"a\\u000a\\\"b\\\"\"\n"), std::string::npos)
        << output;
}

TEST(HashiStatus, showsADeveloperWhyDecodingFailed) {
    EXPECT_EQ(decoded("{}"),
              std::pair(std::optional<HashiStatus>(),
                        std::string("\"Json Decoded Error:\" \"backend_state is missing\"\n")));
    EXPECT_EQ(decoded("plain text").second.rfind("\"Json Decoded Error:\" \"no JSON: ", 0), 0u);
}

TEST(HashiStatus, ignoresInvalidUtf8Silently) {
    EXPECT_EQ(decoded("{\"backend_state\":\"\xFF\"}"),
              std::pair(std::optional<HashiStatus>(), std::string()));
}

} // namespace quoxelin::testing
