#pragma once

#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quoxelin::sim {

using HeaderFields = std::vector<std::pair<std::string, std::string>>;

/// One HTTP/1.1 request, read piece by piece.
class HttpRequest {
  public:
    enum class Progress { incomplete, complete, malformed };

    HttpRequest();

    /// Continues reading. `received` holds everything since the request's first byte, and only
    /// grows from call to call.
    Progress read(std::string_view received);

    /// The number of received bytes that belong to the request so far.
    std::size_t size() const { return parsed; }

    // These also work for an incomplete request.

    std::string method() const { return std::string(parser.get().method_string()); }
    std::string target() const { return std::string(parser.get().target()); }
    HeaderFields headers() const;
    const std::string& body() const { return parser.get().body(); }

    /// Whether the connection stays open after the reply.
    bool keepAlive() const { return parser.get().keep_alive(); }

  private:
    boost::beast::http::request_parser<boost::beast::http::string_body> parser;
    std::size_t parsed = 0;
};

/// A complete HTTP/1.1 reply as bytes; the status is from 100 to 999.
std::string httpReply(int status, const HeaderFields& headers, std::string_view body,
                      bool keepAlive);

} // namespace quoxelin::sim
