// The strings of a property list stay the same when they are written into another one.
#include "Base/PropertyList.h"
#include "Fuzz/Fuzzing.h"

#include <string>

namespace {

void append(std::string& list, const char* element, std::string_view text) {
    list.append("<").append(element).append(">");
    for (const char c : text)
        list.append(c == '<' ? "&lt;" : c == '&' ? "&#x26;" : std::string(1, c));
    list.append("</").append(element).append(">");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quoxelin;
    const auto strings = stringsOfPropertyList(fuzzing::text(data, size));
    if (!strings)
        return 0;
    std::string list = "<plist><dict>";
    for (const auto& [key, value] : *strings) {
        append(list, "key", key);
        append(list, "string", value);
    }
    fuzzing::require(stringsOfPropertyList(list + "</dict></plist>") == strings);
    fuzzing::require(!stringsOfPropertyList(list));
    return 0;
}
