#include "Runner/Models/HashiBus/HashiBusNotify.h"

#include "Base/AsciiCase.h"
#include "Base/JsonDecoder.h"

#include <array>

namespace quoxelin {

namespace {

/// Indexed by the number of the state.
constexpr std::array states = {HashiBusState::noState, HashiBusState::needsLogin,
                               HashiBusState::stopped, HashiBusState::starting,
                               HashiBusState::running};

HashiBusState stateOf(std::int64_t number) {
    const bool known = number >= 0 && number < static_cast<std::int64_t>(states.size());
    return known ? states[static_cast<std::size_t>(number)] : HashiBusState::noState;
}

HashiBusState stateOf(std::string_view name) {
    for (const auto state : states) {
        if (equalIgnoringAsciiCase(name, rawValue(state)))
            return state;
    }
    return HashiBusState::noState;
}

} // namespace

std::string_view rawValue(HashiBusState state) {
    switch (state) {
    case HashiBusState::noState:
        return "NoState";
    case HashiBusState::needsLogin:
        return "NeedsLogin";
    case HashiBusState::stopped:
        return "Stopped";
    case HashiBusState::starting:
        return "Starting";
    case HashiBusState::running:
        return "Running";
    }
    return {};
}

std::string_view decodeValue(const json::Value& value, HashiBusState& into) {
    const auto number = value.integer();
    const auto name = value.string();
    if (!number && !name)
        return "should be a string";
    into = number ? stateOf(*number) : stateOf(*name);
    return {};
}

void encodeValue(HashiBusState state, json::Writer& writer) {
    writer.string(rawValue(state));
}

} // namespace quoxelin

namespace quoxelin::json {

using Peers = std::vector<NodeView>;
using Profiles = std::map<std::string, UserProfile>;

template class Later<Peers>;
template class Later<Profiles>;
template std::optional<UserProfile> Later<Profiles>::find<Profiles>(std::string_view) const;
template Result<HashiBusNotify, Error> decode(std::string_view, std::size_t);

} // namespace quoxelin::json
