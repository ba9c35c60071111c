#pragma once

#include "Simulation/Steering/LineReader.h"

#include <memory>

namespace quoxelin {

/// The lines of standard input as work of the main queue, unless it is a terminal. Its end is of no
/// consequence.
class MacStandardInput {
  public:
    explicit MacStandardInput(std::function<void(std::string_view line)> take);
    MacStandardInput(const MacStandardInput&) = delete;
    MacStandardInput& operator=(const MacStandardInput&) = delete;
    ~MacStandardInput();

  private:
    struct Source;
    std::unique_ptr<Source> source;
};

} // namespace quoxelin
