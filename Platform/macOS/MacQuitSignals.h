#pragma once

#include <functional>
#include <memory>

namespace quoxelin {

/// Handles SIGINT and SIGTERM on the main thread, even while a dialog is open. Create it on the
/// main thread, one at a time. Programs started by the application keep the default behavior of
/// both signals.
class MacQuitSignals {
  public:
    /// `quit` is called on the main thread; signals that arrive together may be one call.
    explicit MacQuitSignals(std::function<void()> quit);
    MacQuitSignals(const MacQuitSignals&) = delete;
    MacQuitSignals& operator=(const MacQuitSignals&) = delete;
    ~MacQuitSignals();

  private:
    struct Sources;
    std::unique_ptr<Sources> sources;
};

} // namespace quoxelin
