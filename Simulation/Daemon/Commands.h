#pragma once

#include "Simulation/Steering/Steering.h"

namespace quoxelin::sim {

class ApiServer;
class Bus;
class DaemonModel;
class RequestLog;
class ScriptedAnswers;

// The daemon's commands; docs/simulation.md describes each.

void addStateCommands(Steering& steering, DaemonModel& model);
void addStreamCommands(Steering& steering, Bus& bus);
void addAnswerCommands(Steering& steering, ScriptedAnswers& script);
void addConnectionCommands(Steering& steering, ApiServer& server, Bus& bus);

/// The objects that the watching commands observe.
struct Watched {
    DaemonModel& model;
    RequestLog& requests;
    ApiServer& server;
    Bus& bus;
};
void addWatchCommands(Steering& steering, const Watched& watched);

} // namespace quoxelin::sim
