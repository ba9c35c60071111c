#include "Runner/Models/HashiBus/DaemonStatus.h"

namespace quoxelin {

namespace {

std::optional<std::string> stringIn(const json::Value& object, std::string_view key) {
    const auto* const member = object.find(key);
    const auto text = member ? member->string() : std::nullopt;
    return text ? std::optional<std::string>(*text) : std::nullopt;
}

std::optional<std::vector<std::string>> stringsIn(const json::Value& object, std::string_view key) {
    const auto* const member = object.find(key);
    return member ? member->strings() : std::nullopt;
}

std::optional<DaemonStatus::SelfNode> selfNodeIn(const json::Value& object) {
    const auto* const self = object.find("self");
    if (!self || !self->isObject())
        return std::nullopt;
    const auto* const id = self->find("id");
    DaemonStatus::SelfNode node;
    node.id = id ? id->integer().value_or(0) : 0;
    node.hostName = stringIn(*self, "host_name");
    node.addresses = stringsIn(*self, "quoxelin_ips");
    return node;
}

} // namespace

Result<DaemonStatus, json::Error> DaemonStatus::parse(std::string_view body) {
    const auto top = json::parse(body);
    if (!top)
        return tl::unexpected(top.error());
    if (!top->isObject())
        return tl::unexpected(json::Error{"the whole should be an object"});
    DaemonStatus status;
    status.backendState = stringIn(*top, "backend_state");
    status.interactiveLoginUrl = stringIn(*top, "interactive_login_url");
    status.quoxelinIps = stringsIn(*top, "quoxelin_ips");
    status.selfNode = selfNodeIn(*top);
    if (const auto* const jailed = top->find("jailed"))
        status.jailed = jailed->boolean();
    status.jailReason = stringIn(*top, "jail_reason");
    return status;
}

} // namespace quoxelin
