#pragma once

#include "Base/ObserverList.h"
#include "Platform/Linux/Services/BusKnock.h"

#include <QDBusConnection>
#include <QFileSystemWatcher>
#include <QObject>
#include <memory>

namespace quoxelin {

/// A connection to a message bus that need not be there yet, may end, and may come again: what
/// watches for it is its socket's directory. One that hangs counts as absent until it answers.
/// Main thread only.
class MessageBus final : public QObject {
    Q_OBJECT

  public:
    /// Where the environment says that the session's and the system's bus are.
    static QString sessionAddress();
    static QString systemAddress();

    /// In D-Bus's own notation. Connects at once, where there is something to connect to; waits a
    /// second at most for it to answer.
    explicit MessageBus(QString address);
    ~MessageBus() override;

    bool isConnected() const { return connected; }

    /// Only good for calls that fail while the bus is absent.
    const QDBusConnection& connection() const { return current; }

    /// Calls the observer whenever the bus has come or gone.
    Subscription observe(std::function<void()> observer) { return observers.add(observer); }

  private Q_SLOTS:
    void lost();

  private:
    void seek();
    void knockAtSocket();
    void watchForSocket();
    void connectIfAnswered();
    bool connectNow();

    const QString address;
    const QString name;
    const QString socket;
    QDBusConnection current;
    bool connected = false;
    QFileSystemWatcher watcher;
    std::unique_ptr<BusKnock> knock;
    ObserverList<> observers;
};

} // namespace quoxelin
