#pragma once

#include "Base/Json.h"

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quoxelin::sim {

/// One received request.
struct ReceivedRequest {
    /// Counts from 1; set by the log.
    std::size_t index = 0;
    /// Seconds since the daemon started.
    double at = 0;
    /// False if the client disconnected early or the bytes are not HTTP.
    bool complete = true;
    std::string method;
    std::string target;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    /// Every byte received.
    std::string bytes;

    /// The event line for the request.
    json::Object summary() const;
};

/// All requests in order. Only the newest 10,000 are kept; the numbering continues.
class RequestLog {
  public:
    const ReceivedRequest& add(ReceivedRequest request);

    /// The number of requests with this method and path; empty texts match any.
    std::size_t count(std::string_view method, std::string_view path) const;

    /// The requests after number `since`, as JSON; "bytes" in base64.
    json::Array report(std::size_t since, std::string_view method, std::string_view path) const;

  private:
    std::deque<ReceivedRequest> requests;
    std::size_t received = 0;
};

} // namespace quoxelin::sim
