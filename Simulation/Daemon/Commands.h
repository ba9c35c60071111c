#pragma once

#include "Simulation/Daemon/CommandReader.h"

#include <boost/json/object.hpp>
#include <boost/json/value.hpp>

#include <functional>
#include <map>
#include <string>

namespace quoxelin::sim {

class ApiServer;
class Bus;
class DaemonModel;
class RequestLog;
class ScriptedAnswers;
class Waits;

/// The answer that is owed to one steering command: exactly one of the calls, now or later.
class Answer {
  public:
    using Write = std::function<void(std::string line)>;

    Answer(Write write, const boost::json::object& command);

    void ok(boost::json::object members = {}) const;
    void fail(std::string_view what) const;

  private:
    void finish(bool good, const boost::json::object& members) const;

    Write write;
    boost::json::object heading; ///< "do" and "id", as the command had them
};

/// Carries out one command: takes all its members, and when there is no problem with them, has its
/// effect.
using Command = std::function<void(CommandReader&, const Answer&)>;
using Commands = std::map<std::string, Command, std::less<>>;

/// Wraps what only takes members and has an effect: `act` returns the effect, which is run, and
/// answered, only if the command has no problem.
using Effect = std::function<boost::json::object()>;
Command simpleCommand(std::function<Effect(CommandReader&)> act);

// What there is to steer, one call for each group of the help text.

void addStateCommands(Commands& commands, DaemonModel& model);
void addStreamCommands(Commands& commands, Bus& bus);
void addAnswerCommands(Commands& commands, ScriptedAnswers& script);
void addConnectionCommands(Commands& commands, ApiServer& server, Bus& bus);

/// What the commands that watch look at.
struct Watched {
    DaemonModel& model;
    RequestLog& requests;
    ApiServer& server;
    Bus& bus;
    Waits& waits;
};
void addWatchCommands(Commands& commands, Watched watched);

} // namespace quoxelin::sim
