#include "Base/JsonWriter.h"

namespace quoxelin::json {

void Writer::key(std::string_view key) {
    separate();
    quote(key);
    output += ':';
}

void Writer::string(std::string_view value) {
    separate();
    quote(value);
}

void Writer::integer(std::int64_t value) {
    separate();
    output += std::to_string(value);
}

void Writer::boolean(bool value) {
    separate();
    output += value ? "true" : "false";
}

void Writer::separate() {
    if (!output.empty() && output.back() != '{' && output.back() != '[' && output.back() != ':')
        output += ',';
}

void Writer::open(char bracket) {
    separate();
    output += bracket;
}

void Writer::close(char bracket) {
    output += bracket;
}

void Writer::quote(std::string_view value) {
    constexpr char hexadecimal[] = "0123456789abcdef";
    output += '"';
    for (const char c : value) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            output += '\\';
            output += c;
        } else if (byte < 0x20) {
            output += "\\u00";
            output += hexadecimal[byte >> 4];
            output += hexadecimal[byte & 0xF];
        } else {
            output += c;
        }
    }
    output += '"';
}

} // namespace quoxelin::json
