#pragma once

#include "Simulation/Daemon/DaemonModel.h"

#include <string>
#include <string_view>

namespace quoxelin::sim {

/// The reply to one request of the local API, before it is put on a socket.
struct ApiReply {
    int status = 200;
    /// JSON text; plain text when the status is 400 or more.
    std::string body;
};

/// The path of the notification stream, which is not answered with an ApiReply.
constexpr std::string_view observePath = "/localapi/v0/observe-hashi-bus";

/// What the daemon answers to a request, with the request's effect on the model: 404 for an unknown
/// path or profile, 405 for a wrong method, 400 for a query or body that cannot be read.
ApiReply answer(DaemonModel& model, std::string_view method, std::string_view target,
                std::string_view body);

} // namespace quoxelin::sim
