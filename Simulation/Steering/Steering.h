#pragma once

#include "Base/Dispatch.h"
#include "Base/Error.h"
#include "Base/Json.h"
#include "Base/Lifetime.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace quoxelin {

/// Takes the members of one steering command, each with its type, and remembers the first thing
/// wrong: a member of another type, one that is missing, or one that nobody asked for.
class SteeringReader {
  public:
    /// The command is an object; it must outlive the reader.
    explicit SteeringReader(const json::Value& command) : command(command) {}

    std::optional<std::string> text(std::string_view name);
    std::string requiredText(std::string_view name);
    std::optional<bool> flag(std::string_view name);
    std::optional<std::int64_t> integer(std::string_view name);
    std::int64_t requiredInteger(std::string_view name);

    /// A number of seconds, not negative.
    std::optional<Duration> duration(std::string_view name);

    /// {"domain": text, "code": integer, "description": text}, of which only the code is required;
    /// the domain is `domain` unless the command has another.
    std::optional<Error> error(std::string_view name, const std::string& domain);

    /// Notes that something is wrong; the first note stays.
    void fail(std::string what);

    /// The first thing wrong so far, or else a member that was never asked for.
    std::optional<std::string> problem() const;

  private:
    const json::Value* take(std::string_view name);
    template <typename T>
    std::optional<T> wellTyped(std::string_view name, std::optional<T> value, const char* kind);

    const json::Value& command;
    std::set<std::string, std::less<>> taken = {"do", "id"};
    std::optional<std::string> wrong;
};

/// The answer that is owed to one command: exactly one of the calls, now or later.
class SteeringReply {
  public:
    using Write = std::function<void(const std::string& line)>;
    using Members = std::function<void(json::Writer& members)>;

    SteeringReply(Write write, std::string heading)
        : write(std::move(write)), heading(std::move(heading)) {}

    /// `members` writes the answer's own members: key, value, key, value.
    void ok(const Members& members = {}) const;
    void fail(std::string_view what) const;

  private:
    void finish(const char* good, const std::string& members) const;

    Write write;
    /// The members "do" and "id", as the command had them.
    std::string heading;
};

/// What a command does, and answers, once its members were found good.
using SteeringEffect = std::function<void(const SteeringReply& reply)>;

/// Takes all members of a command and says what it will do; it does nothing yet.
using SteeringCommand = std::function<SteeringEffect(SteeringReader& reader)>;

/// Steers a simulated system, and whatever else is added to it, by lines of text: a JSON object
/// comes in, a JSON object goes out for each. Main thread only.
///
///     {"do":"approve-extension","id":7}
///     {"ok":true,"do":"approve-extension","id":7}
///
/// A line that is not understood is answered with "ok" false and an "error", and does nothing else;
/// an empty one is passed over. docs/simulated-platform.md lists what is understood.
class Steering {
  public:
    /// `write` takes the answers, each a line without its end.
    Steering(Dispatch& dispatch, SteeringReply::Write write);

    void take(std::string_view line);

    /// A command of that name, in place of one that was there.
    void add(const std::string& name, SteeringCommand command);

    /// A command without members whose answer has none either.
    void addAction(const std::string& name, std::function<void()> action);

    /// A command without members that tells something.
    void addReport(const std::string& name, SteeringReply::Members members);

    /// Something that "wait" can wait for: a count that only grows, until it reaches what is asked
    /// for, or a state, until it is the one.
    void addCount(const std::string& name, std::function<std::int64_t()> count);
    void addState(const std::string& name, std::function<std::int64_t()> state);

  private:
    struct Condition {
        std::string name;
        std::function<bool()> holds;
    };
    struct Observable {
        std::function<std::int64_t()> value;
        bool isCount;
    };

    SteeringEffect wait(SteeringReader& reader);
    void look(const std::vector<Condition>& conditions, Duration left, const SteeringReply& reply);

    Dispatch& dispatch;
    SteeringReply::Write write;
    std::map<std::string, SteeringCommand, std::less<>> commands;
    std::map<std::string, Observable, std::less<>> observables;
    Lifetime lifetime;
};

} // namespace quoxelin
