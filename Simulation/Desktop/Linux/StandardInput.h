#pragma once

#include "Simulation/Steering/LineReader.h"

#include <QSocketNotifier>
#include <memory>

namespace quoxelin {

/// Passes each line of standard input to the main loop, unless standard input is a terminal. End of
/// file is ignored.
class StandardInput {
  public:
    /// `take` receives each line without its line feed, on the main thread. `beforeWaiting` is
    /// called when the main loop becomes idle.
    StandardInput(std::function<void(std::string_view line)> take,
                  std::function<void()> beforeWaiting);

  private:
    LineReader lines;
    std::unique_ptr<QSocketNotifier> notifier;
};

} // namespace quoxelin
