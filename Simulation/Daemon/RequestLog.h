#pragma once

#include "Base/Json.h"

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quoxelin::sim {

/// One request as it was received on the socket.
struct ReceivedRequest {
    /// 1 for the first; set by the log.
    std::size_t index = 0;
    /// Seconds since the simulated daemon began.
    double at = 0;
    /// False: the client left half-way, or the bytes are not HTTP.
    bool complete = true;
    std::string method;
    std::string target;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    /// Every byte, as it came.
    std::string bytes;

    /// The event line that tells of it.
    json::Object summary() const;
};

/// All requests in order. Only the newest 10,000 are kept; the numbering continues.
class RequestLog {
  public:
    const ReceivedRequest& add(ReceivedRequest request);

    /// How many there are, optionally of this method and path only (empty: any).
    std::size_t count(std::string_view method, std::string_view path) const;

    /// The requests after number `since`, as JSON; "bytes" in base64.
    json::Array report(std::size_t since, std::string_view method, std::string_view path) const;

  private:
    std::deque<ReceivedRequest> requests;
    std::size_t received = 0;
};

} // namespace quoxelin::sim
