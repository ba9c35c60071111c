#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quoxelin::sim {

using HeaderFields = std::vector<std::pair<std::string, std::string>>;

/// One HTTP/1.1 request that arrives piece by piece.
class HttpRequest {
  public:
    enum class Progress { incomplete, complete, malformed };

    HttpRequest();
    ~HttpRequest();

    /// Goes on reading. `received` is everything since the request's first byte, with what may have
    /// come behind it; it only grows from call to call.
    Progress read(std::string_view received);

    /// How many of the received bytes belong to the request as far as it was read.
    std::size_t size() const { return parsed; }

    // Of a request that is not complete: what is known of it.

    std::string method() const;
    std::string target() const;
    HeaderFields headers() const;
    const std::string& body() const;
    /// The connection stays open for another request after the reply.
    bool keepAlive() const;

  private:
    struct Parser;

    std::unique_ptr<Parser> parser;
    std::size_t parsed = 0;
};

/// A complete HTTP/1.1 reply as bytes. Content-Length is that of the body unless `headers` say
/// another one; an empty reason becomes the usual words of the status, which is from 100 to 999.
std::string httpReply(int status, std::string_view reason, const HeaderFields& headers,
                      std::string_view body, bool keepAlive);

} // namespace quoxelin::sim
