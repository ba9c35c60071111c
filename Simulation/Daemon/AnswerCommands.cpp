#include "Simulation/Daemon/Commands.h"
#include "Simulation/Daemon/ScriptedAnswers.h"

namespace quoxelin::sim {

namespace {

ScriptedReply readCannedReply(SteeringReader& reader) {
    const auto status = reader.count("status").value_or(200);
    if (status < 100 || status > 999)
        reader.fail("\"status\" must be from 100 to 999");
    const auto* const document = reader.value("json");
    const auto bytes = reader.bytes();
    if (document != nullptr && bytes)
        reader.fail("\"json\" excludes \"text\" and \"bytes\"");
    return CannedReply{static_cast<int>(status),
                       document != nullptr ? json::serialize(*document) : bytes.value_or("")};
}

ScriptedReply readTruncatedReply(SteeringReader& reader) {
    const auto whole = reader.count("bytes");
    const auto body = reader.count("body-bytes");
    if (whole.has_value() == body.has_value())
        reader.fail("either \"bytes\" or \"body-bytes\" is required");
    return TruncatedReply{whole.value_or(body.value_or(0)), body.has_value()};
}

} // namespace

void addAnswerCommands(Steering& steering, ScriptedAnswers& script) {
    const auto add = [&](const char* name, ScriptedReply (*readReply)(SteeringReader & reader)) {
        steering.add(name, [&script, readReply](SteeringReader& reader) {
            const ScriptedAnswer answer = {reader.text("method").value_or(""),
                                           reader.text("path").value_or("*"), reader.count("times"),
                                           readReply(reader)};
            if (answer.times == 0)
                reader.fail("\"times\" must be at least 1");
            return doing([&script, answer] { script.add(answer); });
        });
    };
    add("answer", readCannedReply);
    add("answer-raw",
        [](SteeringReader& reader) -> ScriptedReply { return RawReply{reader.requiredBytes()}; });
    add("truncate", readTruncatedReply);
    add("hang", [](SteeringReader&) -> ScriptedReply { return NoReply{}; });
    add("drop", [](SteeringReader&) -> ScriptedReply { return DroppedConnection{}; });
    steering.add("clear", [&](SteeringReader& reader) {
        const auto method = reader.text("method").value_or("");
        const auto path = reader.text("path").value_or("");
        return [&script, method, path](const SteeringReply& reply) {
            reply.ok({{"cleared", script.clear(method, path)}});
        };
    });
}

} // namespace quoxelin::sim
