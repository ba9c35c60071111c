#pragma once

#include <functional>
#include <memory>

namespace quoxelin {

/// SIGINT and SIGTERM as work of the main queue; one object in a process at a time, on the main
/// thread. Programs that the application starts get the signals' default behaviour.
class MacQuitSignals {
  public:
    /// `quit` is called on the main thread after a signal, once for several that came together.
    explicit MacQuitSignals(std::function<void()> quit);
    MacQuitSignals(const MacQuitSignals&) = delete;
    MacQuitSignals& operator=(const MacQuitSignals&) = delete;
    ~MacQuitSignals();

  private:
    struct Sources;
    std::unique_ptr<Sources> sources;
};

} // namespace quoxelin
