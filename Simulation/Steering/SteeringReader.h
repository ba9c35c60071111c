#pragma once

#include "Base/Dispatch.h"
#include "Base/Error.h"
#include "Base/Json.h"

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quoxelin {

/// Converts bytes to UTF-8 text for JSON: each byte becomes the character with its number, U+0000
/// to U+00FF.
std::string textFromBytes(std::string_view bytes);

/// Converts such text back. Empty if it has a character above U+00FF.
std::optional<std::string> bytesFromText(std::string_view text);

/// Reads the members of one command with their types, and keeps the first error: a member that has
/// another type, is missing or is unknown.
class SteeringReader {
  public:
    /// The command must be an object and outlive the reader.
    explicit SteeringReader(const json::Value& command) : command(command) {}

    bool has(std::string_view name) const { return command.find(name) != nullptr; }

    /// Any value; null if missing.
    const json::Value* value(std::string_view name);
    /// Null if missing or not an object.
    const json::Value* object(std::string_view name);
    std::optional<std::string> text(std::string_view name);
    std::string requiredText(std::string_view name);
    std::optional<bool> flag(std::string_view name);
    std::optional<std::int64_t> integer(std::string_view name);
    std::int64_t requiredInteger(std::string_view name);

    /// A whole number, 0 or more.
    std::optional<std::size_t> count(std::string_view name);

    /// Ascending whole numbers; empty if missing.
    std::vector<std::size_t> counts(std::string_view name);

    /// A number of seconds from 0 to a day.
    std::optional<Duration> duration(std::string_view name);

    /// {"domain": text, "code": integer, "description": text}. Only the code is required; the
    /// domain is `domain` by default.
    std::optional<Error> error(std::string_view name, const std::string& domain);

    /// The bytes of the member "text" or "bytes", repeated "repeat" times; empty without either. In
    /// "bytes" each character from U+0000 to U+00FF stands for one byte.
    std::optional<std::string> bytes();
    std::string requiredBytes();

    /// The value that a text names.
    template <typename T>
    T named(std::string_view name, const std::vector<std::pair<const char*, T>>& values) {
        const auto text = requiredText(name);
        std::string allowed;
        for (const auto& [word, value] : values) {
            if (text == word)
                return value;
            allowed += (allowed.empty() ? "" : ", ") + std::string(word);
        }
        fail('"' + std::string(name) + "\" must be one of " + allowed);
        return values.front().second;
    }

    /// Records that a required member is missing.
    void miss(std::string_view name);

    /// Records an error; the first one is kept.
    void fail(std::string what);

    /// The first mistake so far, or else a member that was never asked for.
    std::optional<std::string> problem() const;

  private:
    template <typename Read>
    auto typed(std::string_view name, const char* kind, Read read)
        -> decltype(read(std::declval<const json::Value&>()));

    const json::Value& command;
    std::set<std::string, std::less<>> taken = {"do", "id"};
    std::optional<std::string> wrong;
};

} // namespace quoxelin
