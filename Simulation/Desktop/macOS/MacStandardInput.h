#pragma once

#include "Simulation/Steering/LineReader.h"

#include <memory>

namespace quoxelin {

/// Passes each line of standard input to `take` on the main queue, unless standard input is a
/// terminal. End of file is ignored.
class MacStandardInput {
  public:
    /// `beforeWaiting` is called when the main loop becomes idle.
    MacStandardInput(std::function<void(std::string_view line)> take,
                     std::function<void()> beforeWaiting);
    MacStandardInput(const MacStandardInput&) = delete;
    MacStandardInput& operator=(const MacStandardInput&) = delete;
    ~MacStandardInput();

  private:
    struct Source;
    std::unique_ptr<Source> source;
};

} // namespace quoxelin
