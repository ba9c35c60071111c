#pragma once

#include <boost/json/object.hpp>

#include <chrono>
#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace quoxelin::sim {

/// Takes the members of one steering command, each with its type, and remembers the first thing
/// wrong: a member of another type, one that is missing, or one that nobody asked for. A command is
/// carried out only when `problem()` is absent after all its members were taken.
class CommandReader {
  public:
    explicit CommandReader(const boost::json::object& command);

    std::optional<std::string> text(std::string_view name);
    std::string requiredText(std::string_view name);
    bool flag(std::string_view name, bool otherwise);
    std::optional<std::size_t> count(std::string_view name);
    std::size_t requiredCount(std::string_view name);
    std::optional<std::chrono::milliseconds> seconds(std::string_view name);
    std::vector<std::size_t> counts(std::string_view name); ///< must rise; empty when absent
    /// Any value; null when absent.
    const boost::json::value* value(std::string_view name);
    const boost::json::object* object(std::string_view name);

    /// The bytes of the member "text" or, encoded, "base64", "repeat" times over. Absent when
    /// neither is there.
    std::optional<std::string> bytes();
    std::string requiredBytes();

    /// Notes that something is wrong; the first note stays.
    void fail(std::string what);
    /// The first thing wrong so far, or else a member that was never asked for.
    std::optional<std::string> problem() const;

  private:
    const boost::json::value* take(std::string_view name);

    const boost::json::object& command;
    std::set<std::string, std::less<>> taken;
    std::optional<std::string> wrong;
};

} // namespace quoxelin::sim
