#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace quoxelin {

/// SIGINT and SIGTERM as an event of the main loop; one object in a process at a time, on the main
/// thread. Programs that the application starts get the signals' default behaviour.
class QuitSignals {
  public:
    /// `quit` is called on the main thread after a signal, once for several that came together.
    explicit QuitSignals(std::function<void()> quit);
    QuitSignals(const QuitSignals&) = delete;
    QuitSignals& operator=(const QuitSignals&) = delete;
    ~QuitSignals();

  private:
    int readEnd = -1;
    std::unique_ptr<QSocketNotifier> notifier;
};

} // namespace quoxelin
