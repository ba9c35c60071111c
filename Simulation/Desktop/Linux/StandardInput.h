#pragma once

#include "Simulation/Steering/LineReader.h"

#include <QSocketNotifier>
#include <QTimer>
#include <deque>
#include <memory>
#include <string>

namespace quoxelin {

/// Passes each line of standard input to the main loop, unless standard input is a terminal. A
/// line waits until a popover that has just opened has the focus, as a person would. End of file is
/// ignored.
class StandardInput {
  public:
    /// `take` receives each line without its line feed, on the main thread. `beforeWaiting` is
    /// called when the main loop becomes idle.
    StandardInput(std::function<void(std::string_view line)> take,
                  std::function<void()> beforeWaiting);

  private:
    void takeOne();

    std::function<void(std::string_view line)> take;
    std::deque<std::string> waiting;
    LineReader lines;
    std::unique_ptr<QSocketNotifier> notifier;
    QTimer turn;
    int turnsWaited = 0;
};

} // namespace quoxelin
