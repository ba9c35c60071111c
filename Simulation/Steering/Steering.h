#pragma once

#include "Base/Dispatch.h"
#include "Base/Json.h"
#include "Base/Lifetime.h"
#include "Simulation/Steering/SteeringReader.h"

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace quoxelin {

/// Answers one command. Make exactly one of the calls, now or later.
class SteeringReply {
  public:
    using Write = std::function<void(const std::string& line)>;

    /// `heading` holds the command's members "do" and "id".
    SteeringReply(Write write, json::Object heading)
        : write(std::move(write)), heading(std::move(heading)) {}

    void ok(json::Object members = {}) const { finish(true, std::move(members)); }
    void fail(std::string_view what) const { finish(false, {{"error", what}}); }

  private:
    void finish(bool good, json::Object members) const;

    Write write;
    json::Object heading;
};

/// Performs a command with valid members and answers it.
using SteeringEffect = std::function<void(const SteeringReply& reply)>;

/// Reads all members of a command and returns its effect, without performing it.
using SteeringCommand = std::function<SteeringEffect(SteeringReader& reader)>;

/// Reads the members of one condition of "wait" and returns a function that tests it.
using SteeringCondition = std::function<std::function<bool()>(SteeringReader& reader)>;

/// An effect that performs the work and answers without members.
SteeringEffect doing(Work work);

/// Controls a simulation by lines of JSON: each command gets one answer. One thread.
///
///     {"do":"approve-extension","id":7}
///     {"ok":true,"do":"approve-extension","id":7}
///
/// An invalid line is answered with "ok" false and an "error", and has no effect. Empty lines are
/// ignored. docs/simulation.md lists the commands.
class Steering {
  public:
    /// Performs the work once, after the delay.
    using After = std::function<void(Duration delay, Work work)>;

    /// `write` receives the answers, each without its line feed.
    Steering(After after, SteeringReply::Write write);

    void take(std::string_view line);

    /// Adds a command, or replaces the one with that name.
    void add(const std::string& name, SteeringCommand command);

    /// Adds a command without members. Its answer has none either.
    void addAction(const std::string& name, Work action);

    /// Adds a command without members. Its answer has these members.
    void addReport(const std::string& name, std::function<json::Object()> members);

    /// Adds a condition for "wait".
    void addCondition(const std::string& name, SteeringCondition condition);

    /// Adds the condition that a count reaches a number, or that a state equals it.
    void addCount(const std::string& name, std::function<std::size_t()> count);
    void addState(const std::string& name, std::function<std::int64_t()> state);

    /// Answers the waits whose conditions hold. Call it after each change that matters to them.
    void look();

  private:
    struct Wait {
        std::map<std::string, std::function<bool()>> conditions;
        SteeringReply reply;

        /// The name of a condition that does not hold; null if all hold.
        const std::string* missing() const;
    };

    SteeringEffect wait(SteeringReader& reader);
    void giveUp(const std::shared_ptr<Wait>& wait);

    After after;
    SteeringReply::Write write;
    std::map<std::string, SteeringCommand, std::less<>> commands;
    std::map<std::string, SteeringCondition> conditions;
    std::list<std::shared_ptr<Wait>> waits;
    Lifetime lifetime;
};

} // namespace quoxelin
