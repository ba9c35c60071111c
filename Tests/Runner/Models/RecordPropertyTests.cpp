#include "Runner/Models/HashiBus/DaemonStatus.h"
#include "Runner/Models/HashiBus/HashiBusNotify.h"
#include "Runner/Models/HashiBus/ProfilesResponse.h"
#include "Tests/Support/Generators.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace rc {

using namespace quoxelin;
namespace generate = quoxelin::testing::generate;

template <>
struct Arbitrary<Node> {
    static Gen<Node> arbitrary() {
        return gen::build<Node>(
            gen::set(&Node::id), gen::set(&Node::name, generate::optionalText()),
            gen::set(&Node::addresses, generate::optionalTexts()),
            gen::set(&Node::key, generate::optionalText()),
            gen::set(&Node::allowedIPs, generate::optionalTexts()),
            gen::set(&Node::endpoints, generate::optionalTexts()),
            gen::set(&Node::nodeKey, generate::optionalText()),
            gen::set(&Node::os, generate::optionalText()), gen::set(&Node::userID));
    }
};

template <>
struct Arbitrary<NodeView> {
    static Gen<NodeView> arbitrary() {
        return gen::build<NodeView>(
            gen::set(&NodeView::node, generate::optional(gen::arbitrary<Node>())));
    }
};

template <>
struct Arbitrary<UserProfile> {
    static Gen<UserProfile> arbitrary() {
        return gen::build<UserProfile>(
            gen::set(&UserProfile::loginName, generate::optionalText()),
            gen::set(&UserProfile::displayName, generate::optionalText()),
            gen::set(&UserProfile::profileUrl, generate::optionalText()));
    }
};

template <>
struct Arbitrary<NetworkMap> {
    static Gen<NetworkMap> arbitrary() {
        using Peers = std::vector<NodeView>;
        using Profiles = std::map<std::string, UserProfile>;
        const auto peers = gen::cast<json::Later<Peers>>(gen::arbitrary<Peers>());
        const auto profiles = gen::cast<json::Later<Profiles>>(
            gen::container<Profiles>(generate::text(), gen::arbitrary<UserProfile>()));
        return gen::build<NetworkMap>(
            gen::set(&NetworkMap::selfNode, generate::optional(gen::arbitrary<NodeView>())),
            gen::set(&NetworkMap::nodeKey, generate::optionalText()),
            gen::set(&NetworkMap::privateWgKey, generate::optionalText()),
            gen::set(&NetworkMap::peers, generate::optional(peers)),
            gen::set(&NetworkMap::dnsName, generate::optionalText()),
            gen::set(&NetworkMap::userProfiles, generate::optional(profiles)));
    }
};

template <>
struct Arbitrary<HashiBusNotify> {
    static Gen<HashiBusNotify> arbitrary() {
        const auto state =
            gen::element(HashiBusState::noState, HashiBusState::needsLogin, HashiBusState::stopped,
                         HashiBusState::starting, HashiBusState::running);
        return gen::build<HashiBusNotify>(
            gen::set(&HashiBusNotify::version, generate::optionalText()),
            gen::set(&HashiBusNotify::errMessage, generate::optionalText()),
            gen::set(&HashiBusNotify::state, generate::optional(state)),
            gen::set(&HashiBusNotify::netMap, generate::optional(gen::arbitrary<NetworkMap>())),
            gen::set(&HashiBusNotify::interactiveLoginUrl, generate::optionalText()),
            gen::set(&HashiBusNotify::jailed, generate::optional(gen::arbitrary<bool>())),
            gen::set(&HashiBusNotify::jailReason, generate::optionalText()));
    }
};

template <>
struct Arbitrary<ProfileInfo> {
    static Gen<ProfileInfo> arbitrary() {
        return gen::build<ProfileInfo>(
            gen::set(&ProfileInfo::id, generate::text()),
            gen::set(&ProfileInfo::name, generate::text()),
            gen::set(&ProfileInfo::nodeId, generate::optional(gen::arbitrary<std::int64_t>())),
            gen::set(&ProfileInfo::userEmail, generate::optionalText()),
            gen::set(&ProfileInfo::isCurrent));
    }
};

template <>
struct Arbitrary<ProfilesResponse> {
    static Gen<ProfilesResponse> arbitrary() {
        return gen::build<ProfilesResponse>(
            gen::set(&ProfilesResponse::currentProfileId, generate::text()),
            gen::set(&ProfilesResponse::profiles));
    }
};

} // namespace rc

namespace quoxelin::testing {

RC_GTEST_PROP(HashiBusNotifyProperty, isUnchangedAfterEncodingAndDecoding, ()) {
    const auto notify = *rc::gen::arbitrary<HashiBusNotify>();
    RC_ASSERT((json::decode<HashiBusNotify>(json::encode(notify)) == notify));
}

RC_GTEST_PROP(ProfilesResponseProperty, isUnchangedAfterEncodingAndDecoding, ()) {
    const auto profiles = *rc::gen::arbitrary<ProfilesResponse>();
    RC_ASSERT((json::decode<ProfilesResponse>(json::encode(profiles)) == profiles));
}

RC_GTEST_PROP(RecordProperty, anyDamageToAnEncodingIsDecodedOrRefused, ()) {
    auto text = json::encode(*rc::gen::arbitrary<HashiBusNotify>());
    const auto at = *rc::gen::inRange<std::size_t>(0, text.size());
    const auto length = *rc::gen::inRange<std::size_t>(0, 4);
    text.replace(at, length, *generate::bytes());
    json::decode<HashiBusNotify>(text);
    DaemonStatus::parse(text);
}

} // namespace quoxelin::testing
