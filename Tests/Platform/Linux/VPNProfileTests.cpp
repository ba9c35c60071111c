#include "Platform/Linux/Services/VPNProfile.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

// Tests/EndToEnd/test_tunnel_in_box.py saves and reads profiles with NetworkManager.
namespace quoxelin::testing {

/// Builds messages on a connection whose other end never answers.
class VPNProfileTest : public ::testing::Test {
  protected:
    using Message = std::shared_ptr<sd_bus_message>;

    VPNProfileTest() {
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        sd_bus_new(&bus);
        sd_bus_set_fd(bus, ends[0], ends[0]);
        EXPECT_GE(sd_bus_start(bus), 0);
    }
    ~VPNProfileTest() override {
        sd_bus_close_unref(bus);
        ::close(ends[1]);
    }

    template <typename Write>
    Message message(const Write& write) const {
        sd_bus_message* made = nullptr;
        EXPECT_GE(sd_bus_message_new_method_call(bus, &made, "a.b", "/", "a.b", "c"), 0);
        EXPECT_GE(write(made), 0);
        EXPECT_GE(sd_bus_message_seal(made, 1, 0), 0);
        return {made, sd_bus_message_unref};
    }

    /// The settings of a VPN with one item of data.
    Message settings(const char* key, const char* value, const char* type = "vpn") const {
        return message([&](sd_bus_message* it) {
            return sd_bus_message_append(it, "a{sa{sv}}", 2, "connection", 3, "id", "s", "Name",
                                         "uuid", "s", "an-id", "type", "s", type, "vpn", 2,
                                         "service-type", "s", "provider", "data", "a{ss}", 1, key,
                                         value);
        });
    }

    VPNProfile profile(const char* key, const char* value) const {
        return readProfile(settings(key, value).get()).value_or(VPNProfile());
    }

    Message written(const VPNProfile& profile) const {
        return message([&](sd_bus_message* it) { return writeProfile(it, profile); });
    }

    static std::string textOf(const Message& message) {
        char* text = nullptr;
        std::size_t size = 0;
        std::FILE* file = ::open_memstream(&text, &size);
        sd_bus_message_dump(message.get(), file, 0);
        std::fclose(file);
        const std::unique_ptr<char, decltype(&std::free)> owned(text, &std::free);
        return owned.get();
    }

    int ends[2] = {-1, -1};
    sd_bus* bus = nullptr;
};

TEST_F(VPNProfileTest, hasWhatTheSettingsSay) {
    const auto read = profile("server-address", "10.0.0.1");
    EXPECT_EQ(read.uuid, "an-id");
    EXPECT_EQ(read.configuration(),
              (VPNConfiguration{"Name", true, NETunnelProviderProtocol{"provider", "10.0.0.1"}}));
}

TEST_F(VPNProfileTest, isEnabledUnlessItSaysNo) {
    EXPECT_TRUE(profile("other", "item").configuration().isEnabled);
    for (const auto& [said, isEnabled] : {std::pair("no", false), {"yes", true}, {"No", true}})
        EXPECT_EQ(profile("enabled", said).configuration().isEnabled, isEnabled) << said;
}

TEST_F(VPNProfileTest, disconnectsOnSleepOnlyIfItSaysYes) {
    EXPECT_FALSE(profile("other", "item").configuration().protocol->disconnectOnSleep);
    for (const auto& [said, disconnects] : {std::pair("yes", true), {"no", false}, {"1", false}})
        EXPECT_EQ(profile("disconnect-on-sleep", said).configuration().protocol->disconnectOnSleep,
                  disconnects)
            << said;
}

TEST_F(VPNProfileTest, isNotReadFromAConnectionOfAnotherType) {
    EXPECT_FALSE(readProfile(settings("enabled", "yes", "wireguard").get()));
}

TEST_F(VPNProfileTest, isNotReadFromOtherValues) {
    for (const auto& wrong :
         {message([](auto* it) { return sd_bus_message_append(it, "s", "text"); }),
          message([](auto* it) { return sd_bus_message_append(it, "a{sv}", 1, "a", "s", "b"); }),
          message([](auto* it) {
              return sd_bus_message_append(it, "a{sa{sv}}", 1, "connection", 1, "type", "u", 1);
          }),
          message([](auto*) { return 0; })})
        EXPECT_FALSE(readProfile(wrong.get())) << textOf(wrong);
}

TEST_F(VPNProfileTest, skipsValuesOfOtherTypes) {
    const auto odd = message([](sd_bus_message* it) {
        return sd_bus_message_append(it, "a{sa{sv}}", 3, "ipv4", 1, "dns", "au", 1, 1, "connection",
                                     3, "id", "u", 1, "uuid", "as", 0, "type", "s", "vpn", "vpn", 2,
                                     "data", "a{su}", 1, "enabled", 1, "service-type", "s", "it");
    });
    const auto read = readProfile(odd.get());
    ASSERT_TRUE(read);
    EXPECT_EQ(read->uuid, "");
    EXPECT_EQ(read->configuration(),
              (VPNConfiguration{"", true, NETunnelProviderProtocol{"it", {}}}));
}

TEST_F(VPNProfileTest, keepsWhatItDoesNotKnowWhenItIsWritten) {
    const auto before = message([](sd_bus_message* it) {
        return sd_bus_message_append(
            it, "a{sa{sv}}", 5, "ipv4", 2, "addresses", "aau", 1, 3, 1, 24, 2, "never-default", "b",
            1, "ipv6", 3, "addresses", "a(ayuay)", 1, 2, 254, 128, 64, 1, 0, "address-data",
            "aa{sv}", 1, 1, "prefix", "u", 64, "dns-search", "as", 0, "proxy", 0, "connection", 4,
            "id", "s", "Name", "uuid", "s", "an-id", "type", "s", "vpn", "timestamp", "t",
            std::uint64_t{7}, "vpn", 3, "service-type", "s", "old", "data", "a{ss}", 2, "mtu",
            "1280", "server-address", "10.0.0.1", "timeout", "u", 9);
    });
    auto changed = readProfile(before.get()).value_or(VPNProfile());
    changed.set({"Quoxelin", false, NETunnelProviderProtocol{"new", {}, true}});
    const auto after = message([](sd_bus_message* it) {
        return sd_bus_message_append(
            it, "a{sa{sv}}", 5, "ipv4", 2, "addresses", "aau", 1, 3, 1, 24, 2, "never-default", "b",
            1, "ipv6", 3, "addresses", "a(ayuay)", 1, 2, 254, 128, 64, 1, 0, "address-data",
            "aa{sv}", 1, 1, "prefix", "u", 64, "dns-search", "as", 0, "proxy", 0, "connection", 4,
            "uuid", "s", "an-id", "type", "s", "vpn", "timestamp", "t", std::uint64_t{7}, "id", "s",
            "Quoxelin", "vpn", 3, "timeout", "u", 9, "service-type", "s", "new", "data", "a{ss}", 3,
            "disconnect-on-sleep", "yes", "enabled", "no", "mtu", "1280");
    });
    EXPECT_EQ(textOf(written(changed)), textOf(after));
    EXPECT_EQ(textOf(written(changed)), textOf(after)) << "the second time";
}

TEST_F(VPNProfileTest, belongsToItsUserAndIsStartedOnDemandIfItIsNew) {
    VPNProfile fresh;
    fresh.uuid = "an-id";
    fresh.set({"Quoxelin", true, NETunnelProviderProtocol{"provider", "10.0.0.1"}});
    const auto permission = std::string("user:") + ::getpwuid(::getuid())->pw_name + ":";
    const auto expected = message([&](sd_bus_message* it) {
        return sd_bus_message_append(it, "a{sa{sv}}", 2, "connection", 5, "uuid", "s", "an-id",
                                     "type", "s", "vpn", "autoconnect", "b", 0, "permissions", "as",
                                     1, permission.c_str(), "id", "s", "Quoxelin", "vpn", 3,
                                     "persistent", "b", 1, "service-type", "s", "provider", "data",
                                     "a{ss}", 3, "disconnect-on-sleep", "no", "enabled", "yes",
                                     "server-address", "10.0.0.1");
    });
    EXPECT_EQ(textOf(written(fresh)), textOf(expected));
}

TEST_F(VPNProfileTest, isReadAsItWasSaved) {
    for (const VPNConfiguration& configuration :
         {VPNConfiguration{}, VPNConfiguration{"A\xff", true, {}},
          VPNConfiguration{"B", false, NETunnelProviderProtocol{{}, "", true}},
          VPNConfiguration{"C", true, NETunnelProviderProtocol{"p\xc3", "s\x80", false}}}) {
        auto changed = profile("server-address", "10.0.0.1");
        changed.set(configuration);
        const auto read = readProfile(written(changed).get());
        ASSERT_TRUE(read);
        EXPECT_EQ(read->configuration(), changed.configuration());
        EXPECT_TRUE(read->isLike(changed));
    }
}

TEST_F(VPNProfileTest, keepsItsProtocolIfThereIsNoOther) {
    auto changed = profile("server-address", "10.0.0.1");
    const auto protocol = changed.configuration().protocol;
    changed.set({"Quoxelin", false, {}});
    EXPECT_EQ(changed.configuration(), (VPNConfiguration{"Quoxelin", false, protocol}));
}

TEST_F(VPNProfileTest, isUnlikeOneWithOtherItems) {
    const auto one = profile("other", "item");
    EXPECT_TRUE(one.isLike(profile("other", "item")));
    EXPECT_FALSE(one.isLike(profile("other", "value")));
    auto renamed = one;
    renamed.id = "Another";
    EXPECT_FALSE(one.isLike(renamed));
}

} // namespace quoxelin::testing
