#include "Simulation/Daemon/Http.h"

#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>

#include <sstream>

namespace quoxelin::sim {

namespace asio = boost::asio;
namespace http = boost::beast::http;

struct HttpRequest::Parser : http::request_parser<http::string_body> {};

HttpRequest::HttpRequest() : parser(std::make_unique<Parser>()) {
    parser->eager(true);
    parser->header_limit(1 << 20);
    parser->body_limit(64 << 20);
}

HttpRequest::~HttpRequest() = default;

HttpRequest::Progress HttpRequest::read(std::string_view received) {
    while (!parser->is_done()) {
        if (parsed == received.size()) {
            return Progress::incomplete;
        }
        boost::system::error_code error;
        const std::string_view rest = received.substr(parsed);
        parsed += parser->put(asio::buffer(rest.data(), rest.size()), error);
        if (error == http::error::need_more) {
            return Progress::incomplete;
        }
        if (error) {
            return Progress::malformed;
        }
    }
    return Progress::complete;
}

std::string HttpRequest::method() const {
    return std::string(parser->get().method_string());
}

std::string HttpRequest::target() const {
    return std::string(parser->get().target());
}

HeaderFields HttpRequest::headers() const {
    HeaderFields fields;
    for (const auto& field : parser->get()) {
        fields.emplace_back(std::string(field.name_string()), std::string(field.value()));
    }
    return fields;
}

const std::string& HttpRequest::body() const {
    return parser->get().body();
}

bool HttpRequest::keepAlive() const {
    return parser->get().keep_alive();
}

std::string httpReply(int status, std::string_view reason, const HeaderFields& headers,
                      std::string_view body, bool keepAlive) {
    http::response<http::string_body> reply;
    reply.version(11);
    reply.result(static_cast<unsigned>(status));
    reply.reason(reason);
    reply.set(http::field::server, "quoxelind-sim");
    reply.content_length(body.size());
    reply.keep_alive(keepAlive);
    for (const auto& [name, value] : headers) {
        reply.set(name, value);
    }
    reply.body() = body;
    std::ostringstream text;
    text << reply;
    return text.str();
}

} // namespace quoxelin::sim
