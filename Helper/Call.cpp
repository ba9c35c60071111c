#include "Helper/Call.h"

#include <cstring>

namespace quoxelin::helper {

std::optional<Call> readCall(sd_bus_message* message) {
    const char* text = nullptr;
    if (sd_bus_message_read_basic(message, 's', &text) < 0 || std::strlen(text) > longestPath ||
        sd_bus_message_enter_container(message, 'a', "s") < 0)
        return std::nullopt;
    Call call{text, {}};
    int present = 0;
    while ((present = sd_bus_message_read_basic(message, 's', &text)) > 0) {
        if (call.arguments.size() == mostArguments || std::strlen(text) > longestArgument)
            return std::nullopt;
        call.arguments.emplace_back(text);
    }
    return present == 0 ? std::optional(call) : std::nullopt;
}

} // namespace quoxelin::helper
