#include "Simulation/Daemon/RequestLog.h"

#include "Simulation/Daemon/Text.h"
#include "Simulation/Steering/SteeringReader.h"

#include <algorithm>

namespace quoxelin::sim {

namespace {

constexpr std::size_t kept = 10000;

bool matches(const ReceivedRequest& request, std::string_view method, std::string_view path) {
    return (method.empty() || request.method == method) &&
           (path.empty() || pathOf(request.target) == path);
}

json::Object toJson(const ReceivedRequest& request) {
    json::Array headers;
    for (const auto& [name, value] : request.headers)
        headers.emplace_back(json::Array{printable(name), printable(value)});
    return {{"index", request.index},
            {"at", request.at},
            {"complete", request.complete},
            {"method", printable(request.method)},
            {"target", printable(request.target)},
            {"headers", std::move(headers)},
            {"body", printable(request.body)},
            {"bytes", textFromBytes(request.bytes)}};
}

} // namespace

json::Object ReceivedRequest::summary() const {
    return {{"index", index},
            {"complete", complete},
            {"method", printable(method)},
            {"target", printable(target)}};
}

const ReceivedRequest& RequestLog::add(ReceivedRequest request) {
    request.index = ++received;
    requests.push_back(std::move(request));
    if (requests.size() > kept)
        requests.pop_front();
    return requests.back();
}

std::size_t RequestLog::count(std::string_view method, std::string_view path) const {
    return static_cast<std::size_t>(
        std::count_if(requests.begin(), requests.end(), [&](const ReceivedRequest& request) {
            return matches(request, method, path);
        }));
}

json::Array RequestLog::report(std::size_t since, std::string_view method,
                               std::string_view path) const {
    json::Array list;
    for (const ReceivedRequest& request : requests)
        if (request.index > since && matches(request, method, path))
            list.emplace_back(toJson(request));
    return list;
}

} // namespace quoxelin::sim
