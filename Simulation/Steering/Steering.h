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

/// The answer that is owed to one command: exactly one of the calls, now or later.
class SteeringReply {
  public:
    using Write = std::function<void(const std::string& line)>;

    /// `heading` has the members "do" and "id", as the command had them.
    SteeringReply(Write write, json::Object heading)
        : write(std::move(write)), heading(std::move(heading)) {}

    void ok(json::Object members = {}) const { finish(true, std::move(members)); }
    void fail(std::string_view what) const { finish(false, {{"error", what}}); }

  private:
    void finish(bool good, json::Object members) const;

    Write write;
    json::Object heading;
};

/// What a command does, and answers, once its members were found good.
using SteeringEffect = std::function<void(const SteeringReply& reply)>;

/// Takes all members of a command and answers what it will do; it does nothing yet.
using SteeringCommand = std::function<SteeringEffect(SteeringReader& reader)>;

/// Takes the members of one condition of "wait" and answers whether it holds.
using SteeringCondition = std::function<std::function<bool()>(SteeringReader& reader)>;

/// The effect that performs the work and answers nothing more.
SteeringEffect doing(Work work);

/// Steers a simulation by lines of text: a JSON object comes in, a JSON object goes out for each.
/// One thread.
///
///     {"do":"approve-extension","id":7}
///     {"ok":true,"do":"approve-extension","id":7}
///
/// A line that is not understood is answered with "ok" false and an "error", and has no effect; an
/// empty one is ignored. docs/simulation.md lists the commands.
class Steering {
  public:
    /// Performs the work once, after the delay.
    using After = std::function<void(Duration delay, Work work)>;

    /// `write` takes the answers, each a line without its end.
    Steering(After after, SteeringReply::Write write);

    void take(std::string_view line);

    /// Adds a command, or replaces the one of that name.
    void add(const std::string& name, SteeringCommand command);

    /// A command without members whose answer has none either.
    void addAction(const std::string& name, Work action);

    /// A command without members whose answer has these.
    void addReport(const std::string& name, std::function<json::Object()> members);

    /// Something that "wait" can wait for.
    void addCondition(const std::string& name, SteeringCondition condition);

    /// Waits until a count reaches the number, or until a state is that number.
    void addCount(const std::string& name, std::function<std::size_t()> count);
    void addState(const std::string& name, std::function<std::int64_t()> state);

    /// Answers the waits that are over. Call it after a change of anything that can be waited for.
    void look();

  private:
    struct Wait {
        std::map<std::string, std::function<bool()>> conditions;
        SteeringReply reply;

        /// The name of a condition that does not hold; null when all do.
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
