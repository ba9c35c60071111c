#pragma once

#include "Helper/CommandLine.h"

#include <systemd/sd-bus.h>

namespace quoxelin::helper {

/// What a caller asks for.
struct Call {
    std::string path;
    Arguments arguments;
};

/// Empty if the message is larger than anything that could be allowed. The message is read in
/// place: it takes no memory but its own, whatever is in it.
std::optional<Call> readCall(sd_bus_message* message);

} // namespace quoxelin::helper
