#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quoxelin::json {

/// Writes compact JSON, value by value; commas come by themselves. Texts have to be UTF-8.
class Writer {
  public:
    void beginObject() { open('{'); }
    void endObject() { close('}'); }
    void beginArray() { open('['); }
    void endArray() { close(']'); }
    void key(std::string_view key);
    void string(std::string_view value);
    void integer(std::int64_t value);
    void boolean(bool value);

    const std::string& text() const { return output; }

  private:
    void separate();
    void open(char bracket);
    void close(char bracket);
    void quote(std::string_view value);

    std::string output;
};

} // namespace quoxelin::json
