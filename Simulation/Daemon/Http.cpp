#include "Simulation/Daemon/Http.h"

#include <boost/beast/http/write.hpp>
#include <sstream>

namespace quoxelin::sim {

namespace http = boost::beast::http;

HttpRequest::HttpRequest() {
    parser.eager(true);
    parser.header_limit(1 << 20);
    parser.body_limit(64 << 20);
}

HttpRequest::Progress HttpRequest::read(std::string_view received) {
    while (!parser.is_done()) {
        if (parsed == received.size())
            return Progress::incomplete;
        boost::system::error_code error;
        const auto rest = received.substr(parsed);
        parsed += parser.put(boost::asio::buffer(rest.data(), rest.size()), error);
        if (error == http::error::need_more)
            return Progress::incomplete;
        if (error)
            return Progress::malformed;
    }
    return Progress::complete;
}

HeaderFields HttpRequest::headers() const {
    HeaderFields fields;
    for (const auto& field : parser.get())
        fields.emplace_back(std::string(field.name_string()), std::string(field.value()));
    return fields;
}

std::string httpReply(int status, const HeaderFields& headers, std::string_view body,
                      bool keepAlive) {
    http::response<http::string_body> reply;
    reply.version(11);
    reply.result(static_cast<unsigned>(status));
    reply.content_length(body.size());
    reply.keep_alive(keepAlive);
    for (const auto& [name, value] : headers)
        reply.set(name, value);
    reply.body() = body;
    std::ostringstream text;
    text << reply;
    return text.str();
}

} // namespace quoxelin::sim
