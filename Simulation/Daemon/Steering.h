#pragma once

#include "Simulation/Daemon/Commands.h"

#include <string>
#include <string_view>

namespace quoxelin::sim {

/// Carries out the JSON lines of standard input. Each line but a blank one is owed exactly one
/// answer, now or later; a line that makes no sense is answered with an error and has no effect.
class Steering {
  public:
    explicit Steering(Answer::Write write);

    /// Where the commands are put before the first line comes.
    Commands& table() { return commands; }

    void obey(std::string_view line);

  private:
    Answer::Write write;
    Commands commands;
};

} // namespace quoxelin::sim
