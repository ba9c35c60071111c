#pragma once

#include "Simulation/Steering/LineReader.h"

#include <memory>

namespace quoxelin {

/// The lines of standard input as work of the main queue, unless it is a terminal. Its end has no
/// effect.
class MacStandardInput {
  public:
    /// `beforeWaiting` is called when the main loop has nothing left to do.
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
