#include "Simulation/Daemon/Server/ApiConnection.h"

#include "Simulation/Daemon/LocalApi.h"
#include "Simulation/Daemon/Text.h"

#include <utility>

namespace quoxelin::sim {

void ApiConnection::close() {
    channel->close();
    end();
}

void ApiConnection::end() {
    if (const auto handler = std::exchange(ended, {}))
        handler();
}

void ApiConnection::readMore() {
    channel->read([self = shared_from_this()](std::string_view bytes) {
        self->received += bytes;
        if (!bytes.empty())
            return self->parse();
        if (!self->received.empty())
            self->record(false);
        self->close();
    });
}

void ApiConnection::parse() {
    switch (request->read(received)) {
    case HttpRequest::Progress::incomplete:
        return readMore();
    case HttpRequest::Progress::malformed:
        record(false);
        return send(httpReply(400, {{"Content-Type", "text/plain"}}, "not an HTTP request", false),
                    false);
    case HttpRequest::Progress::complete:
        record(true);
        return respond();
    }
}

void ApiConnection::record(bool complete) {
    ReceivedRequest seen;
    seen.complete = complete;
    seen.method = request->method();
    seen.target = request->target();
    seen.headers = request->headers();
    seen.body = request->body();
    seen.bytes = complete ? received.substr(0, request->size()) : received;
    surroundings.record(std::move(seen));
}

void ApiConnection::respond() {
    if (const auto script = surroundings.script.take(request->method(), request->target()))
        carryOut(*script);
    else
        respondAsDaemon();
}

void ApiConnection::respondAsDaemon() {
    if (request->method() == "GET" && pathOf(request->target()) == observePath) {
        surroundings.bus.observe(std::exchange(channel, nullptr));
        end();
        return;
    }
    send(ownReply(), request->keepAlive());
}

std::string ApiConnection::ownReply() {
    const auto reply =
        answer(surroundings.model, request->method(), request->target(), request->body());
    const char* type = reply.status < 400 ? "application/json" : "text/plain; charset=utf-8";
    return httpReply(reply.status, {{"Content-Type", type}}, reply.body, request->keepAlive());
}

void ApiConnection::carryOut(const ScriptedReply& script) {
    struct Visitor {
        ApiConnection& connection;

        void operator()(const CannedReply& canned) const {
            const bool keepAlive = connection.request->keepAlive();
            connection.send(httpReply(canned.status, {{"Content-Type", "application/json"}},
                                      canned.body, keepAlive),
                            keepAlive);
        }
        void operator()(const RawReply& raw) const { connection.send(raw.bytes, false); }
        void operator()(const TruncatedReply& cut) const {
            auto reply = connection.ownReply();
            const auto header = cut.countsBody ? reply.find("\r\n\r\n") + 4 : 0;
            reply.resize(std::min(reply.size(), header + cut.bytes));
            connection.send(std::move(reply), false);
        }
        void operator()(const NoReply&) const { connection.hang(); }
        void operator()(const DroppedConnection&) const { connection.close(); }
    };
    std::visit(Visitor{*this}, script);
}

void ApiConnection::hang() {
    channel->read([self = shared_from_this()](std::string_view bytes) {
        if (bytes.empty())
            self->close();
        else
            self->hang();
    });
}

void ApiConnection::send(std::string bytes, bool keepOpen) {
    channel->send({std::make_shared<const std::string>(std::move(bytes)), {}},
                  [self = shared_from_this(), keepOpen](bool sent) {
                      if (sent && keepOpen)
                          self->nextRequest();
                      else
                          self->close();
                  });
}

void ApiConnection::nextRequest() {
    received.erase(0, request->size());
    request.emplace();
    parse();
}

} // namespace quoxelin::sim
