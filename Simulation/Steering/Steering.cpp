#include "Simulation/Steering/Steering.h"

#include <algorithm>

namespace quoxelin {

namespace {

json::Object headingOf(const json::Value& command) {
    json::Object heading;
    for (const auto* const name : {"do", "id"})
        if (const auto* const value = command.find(name))
            heading.push_back({name, *value});
    return heading;
}

bool isBlank(std::string_view line) {
    return line.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

} // namespace

void SteeringReply::finish(bool good, json::Object members) const {
    json::Object line = {{"ok", good}};
    line.insert(line.end(), heading.begin(), heading.end());
    line.insert(line.end(), members.begin(), members.end());
    write(json::serialize(line));
}

SteeringEffect doing(Work work) {
    return [work = std::move(work)](const SteeringReply& reply) {
        work();
        reply.ok();
    };
}

Steering::Steering(After after, SteeringReply::Write write)
    : after(std::move(after)), write(std::move(write)) {
    add("wait", [this](SteeringReader& reader) { return wait(reader); });
    addReport("help", [this]() -> json::Object {
        json::Array names;
        for (const auto& [name, command] : commands)
            names.emplace_back(name);
        return {{"commands", names}};
    });
}

void Steering::take(std::string_view line) {
    if (isBlank(line))
        return;
    const auto command = json::parse(line);
    if (!command)
        return SteeringReply(write, {}).fail(command.error().description);
    const SteeringReply reply(write, headingOf(*command));
    const auto* const name = command->find("do");
    if (name == nullptr || !name->string())
        return reply.fail("a command is an object with a string \"do\"");
    const auto found = commands.find(*name->string());
    if (found == commands.end())
        return reply.fail("there is no command of that name");
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

void Steering::addAction(const std::string& name, Work action) {
    add(name, [action = std::move(action)](SteeringReader&) { return doing(action); });
}

void Steering::addReport(const std::string& name, std::function<json::Object()> members) {
    add(name, [members = std::move(members)](SteeringReader&) {
        return [members](const SteeringReply& reply) { reply.ok(members()); };
    });
}

void Steering::addCondition(const std::string& name, SteeringCondition condition) {
    conditions[name] = std::move(condition);
}

void Steering::addCount(const std::string& name, std::function<std::size_t()> count) {
    addCondition(name, [name, count = std::move(count)](SteeringReader& reader) {
        return [count, wanted = reader.count(name).value_or(0)] { return count() >= wanted; };
    });
}

void Steering::addState(const std::string& name, std::function<std::int64_t()> state) {
    addCondition(name, [name, state = std::move(state)](SteeringReader& reader) {
        return [state, wanted = reader.integer(name).value_or(0)] { return state() == wanted; };
    });
}

const std::string* Steering::Wait::missing() const {
    const auto found = std::find_if(conditions.begin(), conditions.end(),
                                    [](const auto& condition) { return !condition.second(); });
    return found == conditions.end() ? nullptr : &found->first;
}

SteeringEffect Steering::wait(SteeringReader& reader) {
    std::map<std::string, std::function<bool()>> wanted;
    for (const auto& [name, condition] : conditions)
        if (reader.has(name))
            wanted.emplace(name, condition(reader));
    const auto timeout = reader.duration("timeout").value_or(seconds(10));
    if (wanted.empty())
        reader.fail("there is nothing to wait for");
    return [this, wanted, timeout](const SteeringReply& reply) {
        const auto wait = std::make_shared<Wait>(Wait{wanted, reply});
        waits.push_back(wait);
        after(timeout, lifetime.weakly([this, wait] { giveUp(wait); }));
        look();
    };
}

void Steering::look() {
    for (const auto& wait : std::list(waits)) {
        if (wait->missing() != nullptr)
            continue;
        waits.remove(wait);
        wait->reply.ok();
    }
}

void Steering::giveUp(const std::shared_ptr<Wait>& wait) {
    look();
    if (waits.remove(wait) != 0)
        wait->reply.fail("waited in vain for \"" + *wait->missing() + '"');
}

} // namespace quoxelin
