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

/// Any bytes as a text in UTF-8 that JSON can hold: each byte becomes the character of that number,
/// U+0000 to U+00FF.
std::string textFromBytes(std::string_view bytes);

/// The bytes behind such a text in UTF-8; absent when it has a character beyond U+00FF.
std::optional<std::string> bytesFromText(std::string_view text);

/// Takes the members of one steering command, each with its type, and keeps the first mistake: a
/// member of another type, one that is missing, or one that the command does not know.
class SteeringReader {
  public:
    /// The command is an object; it must outlive the reader.
    explicit SteeringReader(const json::Value& command) : command(command) {}

    bool has(std::string_view name) const { return command.find(name) != nullptr; }

    /// Any value; null when absent.
    const json::Value* value(std::string_view name);
    /// Null also when it is not an object.
    const json::Value* object(std::string_view name);
    std::optional<std::string> text(std::string_view name);
    std::string requiredText(std::string_view name);
    std::optional<bool> flag(std::string_view name);
    std::optional<std::int64_t> integer(std::string_view name);
    std::int64_t requiredInteger(std::string_view name);

    /// A whole number, 0 or more.
    std::optional<std::size_t> count(std::string_view name);

    /// Rising whole numbers; empty when absent.
    std::vector<std::size_t> counts(std::string_view name);

    /// A number of seconds, not negative and at most a day.
    std::optional<Duration> duration(std::string_view name);

    /// {"domain": text, "code": integer, "description": text}. Only the code is required; the
    /// domain is `domain` by default.
    std::optional<Error> error(std::string_view name, const std::string& domain);

    /// The bytes of the member "text" or "bytes", "repeat" times over; absent without either. In
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

    /// Notes that a member is required but not there.
    void miss(std::string_view name);

    /// Notes a mistake; the first note stays.
    void fail(std::string what);

    /// The first mistake so far, or else a member that was never asked for.
    std::optional<std::string> problem() const;

  private:
    template <typename T>
    std::optional<T> wellTyped(std::string_view name, std::optional<T> value, const char* kind);

    const json::Value& command;
    std::set<std::string, std::less<>> taken = {"do", "id"};
    std::optional<std::string> wrong;
};

} // namespace quoxelin
