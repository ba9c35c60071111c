#include "Simulation/Steering/Steering.h"

#include <algorithm>

namespace quoxelin {

namespace {

constexpr Duration lookInterval = seconds(0.02);

/// The members "do" and "id" of an answer, where the command has them as they should be.
std::string headingOf(const json::Value& command) {
    json::Writer writer;
    if (const auto* const name = command.find("do"); name && name->string()) {
        writer.key("do");
        writer.string(*name->string());
    }
    if (const auto* const id = command.find("id")) {
        if (const auto text = id->string()) {
            writer.key("id");
            writer.string(*text);
        } else if (const auto number = id->integer()) {
            writer.key("id");
            writer.integer(*number);
        }
    }
    return writer.text();
}

bool isBlank(std::string_view line) {
    return line.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

} // namespace

const json::Value* SteeringReader::take(std::string_view name) {
    taken.emplace(name);
    return command.find(name);
}

template <typename T>
std::optional<T> SteeringReader::wellTyped(std::string_view name, std::optional<T> value,
                                           const char* kind) {
    if (!value)
        fail('"' + std::string(name) + "\" must be " + kind);
    return value;
}

std::optional<std::string> SteeringReader::text(std::string_view name) {
    const auto* const value = take(name);
    if (!value)
        return std::nullopt;
    const auto text = wellTyped(name, value->string(), "a string");
    return text ? std::optional(std::string(*text)) : std::nullopt;
}

std::string SteeringReader::requiredText(std::string_view name) {
    if (!command.find(name))
        fail('"' + std::string(name) + "\" is missing");
    return text(name).value_or("");
}

std::optional<bool> SteeringReader::flag(std::string_view name) {
    const auto* const value = take(name);
    return value ? wellTyped(name, value->boolean(), "true or false") : std::nullopt;
}

std::optional<std::int64_t> SteeringReader::integer(std::string_view name) {
    const auto* const value = take(name);
    return value ? wellTyped(name, value->integer(), "an integer") : std::nullopt;
}

std::int64_t SteeringReader::requiredInteger(std::string_view name) {
    if (!command.find(name))
        fail('"' + std::string(name) + "\" is missing");
    return integer(name).value_or(0);
}

std::optional<Duration> SteeringReader::duration(std::string_view name) {
    constexpr double aDay = 86400;
    const auto* const value = take(name);
    if (!value)
        return std::nullopt;
    auto number = value->number();
    if (number && !(*number >= 0 && *number <= aDay))
        number.reset();
    const auto inRange = wellTyped(name, number, "a number of seconds, of a day at most");
    return inRange ? std::optional(seconds(*inRange)) : std::nullopt;
}

std::optional<Error> SteeringReader::error(std::string_view name, const std::string& domain) {
    const auto* const value = take(name);
    if (!value)
        return std::nullopt;
    if (!value->isObject())
        return wellTyped(name, std::optional<Error>(), "an object");
    SteeringReader members(*value);
    Error error;
    error.domain = members.text("domain").value_or(domain);
    error.code = members.requiredInteger("code");
    error.localizedDescription = members.text("description").value_or("The operation failed.");
    if (const auto problem = members.problem())
        fail("in \"" + std::string(name) + "\": " + *problem);
    return error;
}

void SteeringReader::fail(std::string what) {
    if (!wrong)
        wrong = std::move(what);
}

std::optional<std::string> SteeringReader::problem() const {
    if (wrong)
        return wrong;
    for (const auto& member : command.members()) {
        if (taken.count(member.key) == 0)
            return '"' + member.key + "\" is not understood here";
    }
    return std::nullopt;
}

void SteeringReply::ok(const Members& members) const {
    json::Writer writer;
    if (members)
        members(writer);
    finish("true", writer.text());
}

void SteeringReply::fail(std::string_view what) const {
    json::Writer writer;
    writer.key("error");
    writer.string(what);
    finish("false", writer.text());
}

void SteeringReply::finish(const char* good, const std::string& members) const {
    std::string line = std::string("{\"ok\":") + good;
    for (const auto* const part : {&heading, &members}) {
        if (!part->empty())
            line += ',' + *part;
    }
    write(line + '}');
}

Steering::Steering(Dispatch& dispatch, SteeringReply::Write write)
    : dispatch(dispatch), write(std::move(write)) {
    add("wait", [this](SteeringReader& reader) { return wait(reader); });
    addReport("help", [this](json::Writer& members) {
        members.key("commands");
        members.beginArray();
        for (const auto& [name, command] : commands)
            members.string(name);
        members.endArray();
    });
}

void Steering::take(std::string_view line) {
    if (isBlank(line))
        return;
    const auto command = json::parse(line);
    if (!command) {
        SteeringReply(write, "").fail(command.error().description);
        return;
    }
    const SteeringReply reply(write, headingOf(*command));
    const auto* const name = command->find("do");
    if (!name || !name->string()) {
        reply.fail("a command is an object with a string \"do\"");
        return;
    }
    const auto found = commands.find(*name->string());
    if (found == commands.end()) {
        reply.fail("there is no command of that name");
        return;
    }
    SteeringReader reader(*command);
    const auto effect = found->second(reader);
    if (const auto problem = reader.problem())
        reply.fail(*problem);
    else
        effect(reply);
}

void Steering::add(const std::string& name, SteeringCommand command) {
    commands[name] = std::move(command);
}

void Steering::addAction(const std::string& name, std::function<void()> action) {
    add(name, [action = std::move(action)](SteeringReader&) {
        return [action](const SteeringReply& reply) {
            action();
            reply.ok();
        };
    });
}

void Steering::addReport(const std::string& name, SteeringReply::Members members) {
    add(name, [members = std::move(members)](SteeringReader&) {
        return [members](const SteeringReply& reply) { reply.ok(members); };
    });
}

void Steering::addCount(const std::string& name, std::function<std::int64_t()> count) {
    observables[name] = {std::move(count), true};
}

void Steering::addState(const std::string& name, std::function<std::int64_t()> state) {
    observables[name] = {std::move(state), false};
}

SteeringEffect Steering::wait(SteeringReader& reader) {
    std::vector<Condition> conditions;
    for (const auto& [name, observable] : observables) {
        const auto wanted = reader.integer(name);
        if (!wanted)
            continue;
        conditions.push_back(
            {name, [value = observable.value, isCount = observable.isCount, wanted = *wanted] {
                 return isCount ? value() >= wanted : value() == wanted;
             }});
    }
    const auto patience = reader.duration("seconds").value_or(seconds(10));
    if (conditions.empty())
        reader.fail("there is nothing to wait for");
    return [this, conditions, patience](const SteeringReply& reply) {
        look(conditions, patience, reply);
    };
}

void Steering::look(const std::vector<Condition>& conditions, Duration left,
                    const SteeringReply& reply) {
    const auto missing = std::find_if(conditions.begin(), conditions.end(),
                                      [](const auto& condition) { return !condition.holds(); });
    if (missing == conditions.end()) {
        reply.ok();
        return;
    }
    if (left <= Duration::zero()) {
        reply.fail("waited in vain for \"" + missing->name + '"');
        return;
    }
    const auto pause = std::min(left, lookInterval);
    dispatch.main().asyncAfter(pause, lifetime.weakly([this, conditions, left, pause, reply] {
        look(conditions, left - pause, reply);
    }));
}

} // namespace quoxelin
