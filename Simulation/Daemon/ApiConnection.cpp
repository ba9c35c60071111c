#include "Simulation/Daemon/ApiConnection.h"

#include "Simulation/Daemon/Text.h"

#include <utility>

namespace quoxelin::sim {

ApiConnection::ApiConnection(std::shared_ptr<Channel> acceptedChannel,
                             const ApiOutside& outsideToUse, std::function<void()> endedHandler)
    : channel(std::move(acceptedChannel)), outside(outsideToUse), ended(std::move(endedHandler)),
      request(std::make_unique<HttpRequest>()) {}

ApiConnection::~ApiConnection() = default;

void ApiConnection::start() {
    readMore();
}

void ApiConnection::close() {
    channel->close();
    end();
}

void ApiConnection::end() {
    if (const auto handler = std::exchange(ended, {})) {
        handler();
    }
}

void ApiConnection::readMore() {
    channel->read([self = shared_from_this()](std::string_view bytes) {
        if (bytes.empty()) {
            self->clientGone();
            return;
        }
        self->received += bytes;
        self->parse();
    });
}

void ApiConnection::parse() {
    switch (request->read(received)) {
    case HttpRequest::Progress::incomplete:
        readMore();
        break;
    case HttpRequest::Progress::malformed:
        malformed();
        break;
    case HttpRequest::Progress::complete:
        record(true);
        respond();
        break;
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
    outside.record(std::move(seen));
}

void ApiConnection::clientGone() {
    if (!received.empty()) {
        record(false);
    }
    close();
}

void ApiConnection::malformed() {
    record(false);
    send(httpReply(400, "", {{"Content-Type", "text/plain"}}, "not an HTTP request", false), {},
         false);
}

void ApiConnection::respond() {
    auto script = outside.script(request->method(), request->target());
    if (!script) {
        respondAsDaemon(nullptr);
        return;
    }
    if (script->delay.count() == 0) {
        carryOut(*script);
        return;
    }
    channel->wait(script->delay, [self = shared_from_this(), script = std::move(*script)] {
        self->carryOut(script);
    });
}

void ApiConnection::respondAsDaemon(const ScriptedAnswer* script) {
    if (request->method() == "GET" && pathOf(request->target()) == observePath) {
        outside.observe(std::exchange(channel, nullptr));
        end();
        return;
    }
    send(ownReply(), script ? script->pacing : Pacing{}, request->keepAlive());
}

std::string ApiConnection::ownReply() {
    const ApiReply reply = outside.answer(request->method(), request->target(), request->body());
    const char* type = reply.status < 400 ? "application/json" : "text/plain; charset=utf-8";
    return httpReply(reply.status, "", {{"Content-Type", type}}, reply.body, request->keepAlive());
}

void ApiConnection::carryOut(const ScriptedAnswer& script) {
    struct Visitor {
        ApiConnection& connection;
        const ScriptedAnswer& script;

        void operator()(const CannedReply& canned) const {
            const bool keepAlive = connection.request->keepAlive();
            connection.send(
                httpReply(canned.status, canned.reason, canned.headers, canned.body, keepAlive),
                script.pacing, keepAlive);
        }
        void operator()(const RawReply& raw) const {
            connection.send(raw.bytes, script.pacing, raw.keepOpen);
        }
        void operator()(const TruncatedReply& cut) const {
            connection.truncate(cut, script.pacing);
        }
        void operator()(const NoReply&) const { connection.hang(); }
        void operator()(const DroppedConnection&) const { connection.close(); }
        void operator()(const OwnReply&) const { connection.respondAsDaemon(&script); }
    };
    std::visit(Visitor{*this, script}, script.reply);
}

void ApiConnection::truncate(const TruncatedReply& cut, const Pacing& pacing) {
    std::string reply = ownReply();
    const std::size_t header = cut.countsBody ? reply.find("\r\n\r\n") + 4 : 0;
    reply.resize(std::min(reply.size(), header + cut.bytes));
    send(std::move(reply), pacing, false);
}

void ApiConnection::hang() {
    channel->read([self = shared_from_this()](std::string_view bytes) {
        if (bytes.empty()) {
            self->close();
        } else {
            self->hang();
        }
    });
}

void ApiConnection::send(std::string bytes, Pacing pacing, bool keepOpen) {
    channel->send({std::make_shared<const std::string>(std::move(bytes)), std::move(pacing)},
                  [self = shared_from_this(), keepOpen](bool sent) {
                      if (sent && keepOpen) {
                          self->nextRequest();
                      } else {
                          self->close();
                      }
                  });
}

void ApiConnection::nextRequest() {
    received.erase(0, request->size());
    request = std::make_unique<HttpRequest>();
    parse();
}

} // namespace quoxelin::sim
