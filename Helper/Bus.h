#pragma once

#include "Helper/Requests.h"

#include <systemd/sd-bus.h>

namespace quoxelin::helper {

/// Releases libsystemd's objects.
struct Unref {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
    void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
    void operator()(sd_event* event) const { sd_event_unref(event); }
    void operator()(sd_event_source* source) const { sd_event_source_disable_unref(source); }
};
template <typename T>
using Owned = std::unique_ptr<T, Unref>;

/// Calls a libsystemd function that returns an object through its first argument. Null if the
/// function fails.
template <typename T, typename Function, typename... Arguments>
Owned<T> made(Function function, Arguments... arguments) {
    T* object = nullptr;
    return function(&object, arguments...) >= 0 ? Owned<T>(object) : nullptr;
}

// The helper's questions over the system bus. Each is answered once, from the event loop or before
// the function returns. All have time-outs, because the bus may lose an answer and the user may
// never give one. Destroying the returned object cancels the question.

/// Passes on the user of a connection; empty if it is closed or the bus does not answer.
std::shared_ptr<void> identify(sd_bus* bus, const std::string& caller,
                               std::function<void(std::optional<uid_t>)> answer);

/// Passes on whether polkit allows the caller to run the program. polkit may ask the user. False if
/// polkit is missing or fails; `log` then receives the reason. If the question ends before polkit
/// answers, its dialog closes.
std::shared_ptr<void> authorize(sd_bus* bus, const Requests::Question& question,
                                std::function<void(bool)> answer,
                                std::function<void(const std::string&)> log);

} // namespace quoxelin::helper
