#pragma once

#include <QDBusServiceWatcher>
#include <QObject>
#include <functional>

namespace quoxelin {

/// Tells when the desktop has a tray. The toolkit settles once, when the first icon is made, for
/// the kind of tray that it finds then; so an icon is only to be made when there is one to be
/// found.
class TrayWatch final : public QObject {
  public:
    /// `appeared` is called once, on a turn of the main loop, as soon as there is a tray.
    explicit TrayWatch(std::function<void()> appeared);
    ~TrayWatch() override;

    static bool hasTray();

  private:
    void check();

    std::function<void()> appeared;
    QDBusServiceWatcher watcher;
};

} // namespace quoxelin
