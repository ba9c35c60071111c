#pragma once

#include <string>
#include <systemd/sd-bus.h>

namespace quoxelin {

/// Reads the message's next argument, a dictionary. Calls `read` with each key. `read` returns true
/// if it has read the value; otherwise the value is skipped. `key` and `value` are D-Bus types, and
/// `key` must be a string or an object path. Does nothing if the argument has another type.
template <typename Read>
void forEachEntry(sd_bus_message* message, char key, const char* value, const Read& read) {
    const std::string entry = key + std::string(value);
    if (sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, ("{" + entry + "}").c_str()) <=
        0)
        return;
    while (sd_bus_message_enter_container(message, SD_BUS_TYPE_DICT_ENTRY, entry.c_str()) > 0) {
        const char* name = nullptr;
        if (sd_bus_message_read_basic(message, key, static_cast<void*>(&name)) <= 0)
            return;
        if (!read(std::string(name)))
            sd_bus_message_skip(message, value);
        sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
}

/// Reads a variant that holds a text. False if it holds something else.
inline bool readTextVariant(sd_bus_message* message, std::string& text) {
    const char* read = nullptr;
    if (sd_bus_message_read(message, "v", "s", &read) <= 0)
        return false;
    text = read;
    return true;
}

} // namespace quoxelin
