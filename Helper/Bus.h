#pragma once

#include "Helper/Requests.h"

#include <systemd/sd-bus.h>

namespace quoxelin::helper {

/// What libsystemd hands over, owned.
struct Unref {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
    void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
    void operator()(sd_event* event) const { sd_event_unref(event); }
    void operator()(sd_event_source* source) const { sd_event_source_disable_unref(source); }
};
template <typename T>
using Owned = std::unique_ptr<T, Unref>;

/// The object that a function of libsystemd hands over through its first argument; null when the
/// function fails.
template <typename T, typename Function, typename... Arguments>
Owned<T> made(Function function, Arguments... arguments) {
    T* object = nullptr;
    return function(&object, arguments...) >= 0 ? Owned<T>(object) : nullptr;
}

// What the helper asks over the system bus, answered once by the bus's event loop, or before the
// function returns. Every question has an end: a bus may lose an answer, and a person may never
// give one. There is no answer when what the function returns is dropped before.

/// The user to whom a connection belongs; none when it has gone or the bus does not tell.
std::shared_ptr<void> identify(sd_bus* bus, const std::string& caller,
                               std::function<void(std::optional<uid_t>)> answer);

/// Whether polkit lets the caller have the program run. A person may be asked. False also when
/// there is no polkit, or when it fails, for which `log` gets the reason. Whatever ends the
/// question before polkit answers removes its dialog.
std::shared_ptr<void> authorize(sd_bus* bus, const Requests::Question& question,
                                std::function<void(bool)> answer,
                                std::function<void(const std::string&)> log);

} // namespace quoxelin::helper
