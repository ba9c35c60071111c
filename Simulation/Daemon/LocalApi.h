#pragma once

#include "Simulation/Daemon/DaemonModel.h"

#include <string>
#include <string_view>

namespace quoxelin::sim {

/// The reply to one request of the local API.
struct ApiReply {
    int status = 200;
    /// JSON; plain text if the status is 400 or more.
    std::string body;
};

/// The path of the notification stream, which is not answered with an ApiReply.
constexpr std::string_view observePath = "/localapi/v0/observe-hashi-bus";

/// Performs a request on the model and returns the answer: 404 for an unknown path or profile, 405
/// for a wrong method, 400 for an unreadable query or body.
ApiReply answer(DaemonModel& model, std::string_view method, std::string_view target,
                std::string_view body);

} // namespace quoxelin::sim
