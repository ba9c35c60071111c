#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace quoxelin {

/// Turns SIGINT and SIGTERM into an event of the main loop. Create one object per process, on the
/// main thread. Programs that the application starts get the signals' default behavior.
class QuitSignals {
  public:
    /// `quit` is called on the main thread, once for several signals that arrive together.
    explicit QuitSignals(std::function<void()> quit);
    QuitSignals(const QuitSignals&) = delete;
    QuitSignals& operator=(const QuitSignals&) = delete;
    ~QuitSignals();

  private:
    int readEnd = -1;
    std::unique_ptr<QSocketNotifier> notifier;
};

} // namespace quoxelin
