#pragma once

#include "Simulation/Steering/Steering.h"

#include <array>
#include <utility>

// What the commands share: short ways to make an effect and to write the members of an answer.
namespace quoxelin::steering {

/// Does it and answers with nothing more.
inline SteeringEffect doing(std::function<void()> action) {
    return [action = std::move(action)](const SteeringReply& reply) {
        action();
        reply.ok();
    };
}

template <typename T>
using Name = std::pair<const char*, T>;

/// The value that a text names; notes what is allowed when it names none.
template <typename T, std::size_t size>
T named(SteeringReader& reader, std::string_view member, const std::string& text,
        const std::array<Name<T>, size>& names) {
    std::string allowed;
    for (const auto& [name, value] : names) {
        if (text == name)
            return value;
        allowed += (allowed.empty() ? "" : ", ") + std::string(name);
    }
    reader.fail('"' + std::string(member) + "\" must be one of " + allowed);
    return names.front().second;
}

/// Changes the field, if there is a value for it.
template <typename Field, typename T>
void takeOver(Field& field, const std::optional<T>& value) {
    if (value)
        field = *value;
}

template <typename T>
void member(json::Writer& writer, const char* key, const T& value) {
    using json::encodeValue;
    writer.key(key);
    encodeValue(value, writer);
}

inline void member(json::Writer& writer, const char* key, bool value) {
    writer.key(key);
    writer.boolean(value);
}

inline void count(json::Writer& writer, const char* key, std::size_t value) {
    writer.key(key);
    writer.integer(static_cast<std::int64_t>(value));
}

/// Left out when it is absent.
inline void optionalMember(json::Writer& writer, const char* key,
                           const std::optional<std::string>& value) {
    if (value)
        member(writer, key, *value);
}

/// An array with one object for each element, whose members `write` writes.
template <typename List, typename Write>
void objects(json::Writer& writer, const char* key, const List& list, Write write) {
    writer.key(key);
    writer.beginArray();
    for (const auto& element : list) {
        writer.beginObject();
        write(element);
        writer.endObject();
    }
    writer.endArray();
}

} // namespace quoxelin::steering
