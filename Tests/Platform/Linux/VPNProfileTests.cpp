#include "Platform/Linux/Services/VPNProfile.h"

#include "Platform/Linux/Services/GLib.h"
#include "Platform/Linux/Services/LibNM.h"

#include <gtest/gtest.h>

// Tests/EndToEnd/test_tunnel_in_box.py saves and reads profiles with NetworkManager.
namespace quoxelin::testing {

class VPNProfileTest : public ::testing::Test {
  protected:
    VPNProfileTest() : connection(nm_simple_connection_new()) {
        EXPECT_EQ(problem, "");
        nm_connection_add_setting(connection.get(), nm_setting_connection_new());
        nm_connection_add_setting(connection.get(), nm_setting_vpn_new());
    }

    void setItem(const char* key, const char* value) {
        nm_setting_vpn_add_data_item(nm_connection_get_setting_vpn(connection.get()), key, value);
    }

    const std::string problem = loadLibNM();
    GPtr<NMConnection> connection;
};

TEST_F(VPNProfileTest, isEnabledUnlessItSaysNo) {
    EXPECT_TRUE(configurationOf(connection.get()).isEnabled);
    for (const auto& [said, isEnabled] : {std::pair("no", false), {"yes", true}, {"No", true}}) {
        setItem("enabled", said);
        EXPECT_EQ(configurationOf(connection.get()).isEnabled, isEnabled) << said;
    }
}

TEST_F(VPNProfileTest, disconnectsOnSleepOnlyIfItSaysYes) {
    EXPECT_FALSE(configurationOf(connection.get()).protocol->disconnectOnSleep);
    for (const auto& [said, disconnects] : {std::pair("yes", true), {"no", false}, {"1", false}}) {
        setItem("disconnect-on-sleep", said);
        EXPECT_EQ(configurationOf(connection.get()).protocol->disconnectOnSleep, disconnects)
            << said;
    }
}

TEST_F(VPNProfileTest, hasNothingOfAConnectionOfAnotherType) {
    nm_connection_remove_setting(connection.get(), NM_TYPE_SETTING_VPN);
    const auto read = configurationOf(connection.get());
    EXPECT_FALSE(read.isEnabled);
    EXPECT_FALSE(read.protocol);
}

TEST_F(VPNProfileTest, keepsWhatItDoesNotKnowWhenItIsWritten) {
    setItem("mtu", "1280");
    setItem("server-address", "10.0.0.1");
    VPNConfiguration configuration{.localizedDescription = "Quoxelin",
                                   .isEnabled = false,
                                   .protocol = NETunnelProviderProtocol{"provider", {}, true}};
    write(configuration, connection.get());
    EXPECT_EQ(configurationOf(connection.get()), configuration);
    auto* const vpn = nm_connection_get_setting_vpn(connection.get());
    EXPECT_STREQ(nm_setting_vpn_get_data_item(vpn, "mtu"), "1280");
    EXPECT_EQ(nm_setting_vpn_get_data_item(vpn, "server-address"), nullptr);
}

} // namespace quoxelin::testing
