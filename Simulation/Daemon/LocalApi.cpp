#include "Simulation/Daemon/LocalApi.h"

#include "Simulation/Daemon/Text.h"

namespace quoxelin::sim {

namespace {

ApiReply ok(const json::Object& reply) {
    return {200, json::serialize(reply) + "\n"};
}

ApiReply switchProfile(DaemonModel& model, std::string_view target) {
    const auto id = queryItem(target, "id");
    if (!id || id->empty())
        return {400, "missing profile id"};
    if (!model.switchProfile(*id))
        return {404, "no such profile"};
    return ok({});
}

/// A preference is used only if its "...Set" companion is true, so that a request can change some
/// of them.
ApiReply changePreferences(DaemonModel& model, std::string_view body) {
    const auto changes = json::parse(body);
    if (!changes || !changes->isObject())
        return {400, "preferences are not a JSON object"};
    const auto* const wanted = changes->find("WantRunning");
    const auto* const counts = changes->find("WantRunningSet");
    if ((wanted && !wanted->boolean()) || (counts && !counts->boolean()))
        return {400, "WantRunning and WantRunningSet are booleans"};
    if (wanted && counts && *counts->boolean())
        model.setWantRunning(*wanted->boolean());
    return ok(model.preferences());
}

} // namespace

ApiReply answer(DaemonModel& model, std::string_view method, std::string_view target,
                std::string_view body) {
    struct Endpoint {
        std::string_view path;
        std::string_view method;
        ApiReply (*handle)(DaemonModel&, std::string_view target, std::string_view body);
    };
    using View = std::string_view;
    static constexpr Endpoint endpoints[] = {
        {"/localapi/v0/status", "GET", [](DaemonModel& m, View, View) { return ok(m.status()); }},
        {"/localapi/v0/profiles", "GET",
         [](DaemonModel& m, View, View) { return ok(m.profiles()); }},
        {"/localapi/v0/profiles/switch", "POST",
         [](DaemonModel& m, View target, View) { return switchProfile(m, target); }},
        {"/localapi/v0/profiles/switch-to-empty", "POST",
         [](DaemonModel& m, View, View) {
             m.switchToEmptyProfile();
             return ok({});
         }},
        {"/localapi/v0/login", "POST",
         [](DaemonModel& m, View, View) {
             return ok({{"interactive_login_url", m.beginLogin()}});
         }},
        {"/localapi/v0/hatago", "PATCH",
         [](DaemonModel& m, View, View body) { return changePreferences(m, body); }},
        {"/localapi/v0/logout", "POST",
         [](DaemonModel& m, View, View) {
             m.logOut();
             return ok({});
         }},
        // Unreachable for GET: the stream keeps its connection and has no reply.
        {observePath, "GET", [](DaemonModel&, View, View) { return ok({}); }},
    };
    for (const Endpoint& endpoint : endpoints) {
        if (endpoint.path == pathOf(target)) {
            return endpoint.method == method ? endpoint.handle(model, target, body)
                                             : ApiReply{405, "method not allowed"};
        }
    }
    return {404, "no such endpoint"};
}

} // namespace quoxelin::sim
