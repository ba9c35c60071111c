#pragma once

#include "Simulation/Steering/LineReader.h"

#include <QSocketNotifier>
#include <memory>

namespace quoxelin {

/// The lines of standard input as events of the main loop, unless it is a terminal. Its end is of
/// no consequence.
class StandardInput {
  public:
    /// `take` gets each line without its end, on the main thread; a last line without one is left
    /// out.
    explicit StandardInput(std::function<void(std::string_view line)> take);

  private:
    LineReader lines;
    std::unique_ptr<QSocketNotifier> notifier;
};

} // namespace quoxelin
