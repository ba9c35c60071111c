#include "Simulation/Daemon/Commands.h"
#include "Simulation/Daemon/ScriptedAnswers.h"

#include <boost/json.hpp>

#include <utility>

namespace quoxelin::sim {

namespace json = boost::json;

namespace {

ScriptedReply readCannedReply(CommandReader& reader) {
    CannedReply reply;
    reply.status =
        static_cast<int>(std::min<std::size_t>(reader.count("status").value_or(200), 1000));
    if (reply.status < 100 || reply.status > 999) {
        reader.fail("\"status\" must be from 100 to 999");
    }
    reply.reason = reader.text("reason").value_or("");
    const json::value* document = reader.value("json");
    auto bytes = reader.bytes();
    if (document && bytes) {
        reader.fail("\"json\" excludes \"text\" and \"base64\"");
    }
    if (document) {
        reply.headers.emplace_back("Content-Type", "application/json");
    }
    reply.body = document ? json::serialize(*document) : bytes.value_or("");
    if (const json::object* headers = reader.object("headers")) {
        for (const auto& field : *headers) {
            if (!field.value().is_string()) {
                reader.fail("header fields must be strings");
                break;
            }
            reply.headers.emplace_back(field.key(), field.value().get_string());
        }
    }
    return reply;
}

ScriptedReply readRawReply(CommandReader& reader) {
    std::string bytes = reader.requiredBytes();
    return RawReply{std::move(bytes), reader.flag("keep-open", false)};
}

ScriptedReply readTruncatedReply(CommandReader& reader) {
    const auto whole = reader.count("bytes");
    const auto body = reader.count("body-bytes");
    if (whole.has_value() == body.has_value()) {
        reader.fail("either \"bytes\" or \"body-bytes\" must be there");
    }
    return TruncatedReply{whole ? *whole : body.value_or(0), body.has_value()};
}

/// What every kind of answer has in common.
ScriptedAnswer readAnswer(CommandReader& reader, ScriptedReply (*readReply)(CommandReader&)) {
    ScriptedAnswer answer;
    answer.reply = readReply(reader);
    answer.method = reader.text("method").value_or("");
    answer.path = reader.text("path").value_or("*");
    answer.times = reader.count("times");
    if (answer.times == 0) {
        reader.fail("\"times\" must be at least 1");
    }
    answer.delay = reader.seconds("delay").value_or(std::chrono::milliseconds(0));
    answer.pacing.split = reader.counts("split");
    answer.pacing.pause = reader.seconds("pause").value_or(std::chrono::milliseconds(0));
    return answer;
}

} // namespace

void addAnswerCommands(Commands& commands, ScriptedAnswers& script) {
    const auto add = [&](const char* name, ScriptedReply (*readReply)(CommandReader&)) {
        commands[name] = simpleCommand([&script, readReply](CommandReader& reader) -> Effect {
            return [&script, answer = readAnswer(reader, readReply)]() -> json::object {
                script.add(answer);
                return {};
            };
        });
    };
    add("answer", readCannedReply);
    add("answer-raw", readRawReply);
    add("truncate", readTruncatedReply);
    add("late", [](CommandReader&) -> ScriptedReply { return OwnReply{}; });
    add("hang", [](CommandReader&) -> ScriptedReply { return NoReply{}; });
    add("drop", [](CommandReader&) -> ScriptedReply { return DroppedConnection{}; });
    commands["clear"] = simpleCommand([&script](CommandReader& reader) -> Effect {
        const std::string method = reader.text("method").value_or("");
        const std::string path = reader.text("path").value_or("");
        return [&script, method, path]() -> json::object {
            return {{"cleared", script.clear(method, path)}};
        };
    });
}

} // namespace quoxelin::sim
