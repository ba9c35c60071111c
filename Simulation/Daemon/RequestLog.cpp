#include "Simulation/Daemon/RequestLog.h"

#include "Simulation/Daemon/Base64.h"
#include "Simulation/Daemon/Text.h"

#include <boost/json.hpp>

#include <algorithm>

namespace quoxelin::sim {

namespace json = boost::json;

namespace {

constexpr std::size_t kept = 10000;

bool matches(const ReceivedRequest& request, std::string_view method, std::string_view path) {
    return (method.empty() || request.method == method) &&
           (path.empty() || pathOf(request.target) == path);
}

json::object toJson(const ReceivedRequest& request) {
    json::array headers;
    for (const auto& [name, value] : request.headers) {
        headers.push_back({printable(name), printable(value)});
    }
    return {{"index", request.index},
            {"at", request.at},
            {"complete", request.complete},
            {"method", printable(request.method)},
            {"target", printable(request.target)},
            {"headers", std::move(headers)},
            {"body", printable(request.body)},
            {"bytes", toBase64(request.bytes)}};
}

} // namespace

json::object ReceivedRequest::summary() const {
    return {{"event", "request"},
            {"index", index},
            {"complete", complete},
            {"method", printable(method)},
            {"target", printable(target)}};
}

const ReceivedRequest& RequestLog::add(ReceivedRequest request) {
    request.index = ++received;
    requests.push_back(std::move(request));
    if (requests.size() > kept) {
        requests.pop_front();
    }
    return requests.back();
}

std::size_t RequestLog::count(std::string_view method, std::string_view path) const {
    return static_cast<std::size_t>(
        std::count_if(requests.begin(), requests.end(), [&](const ReceivedRequest& request) {
            return matches(request, method, path);
        }));
}

json::array RequestLog::report(std::size_t since, std::string_view method,
                               std::string_view path) const {
    json::array list;
    for (const ReceivedRequest& request : requests) {
        if (request.index > since && matches(request, method, path)) {
            list.push_back(toJson(request));
        }
    }
    return list;
}

void RequestLog::clear() {
    requests.clear();
}

} // namespace quoxelin::sim
