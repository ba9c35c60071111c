#pragma once

#include "Simulation/Steering/LineReader.h"

#include <QSocketNotifier>
#include <memory>

namespace quoxelin {

/// The lines of standard input as events of the main loop, unless it is a terminal. Its end has no
/// effect.
class StandardInput {
  public:
    /// `take` gets each line without its end, on the main thread; `beforeWaiting` is called when
    /// the main loop has nothing left to do.
    StandardInput(std::function<void(std::string_view line)> take,
                  std::function<void()> beforeWaiting);

  private:
    LineReader lines;
    std::unique_ptr<QSocketNotifier> notifier;
};

} // namespace quoxelin
