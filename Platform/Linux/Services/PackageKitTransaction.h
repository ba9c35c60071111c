#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <functional>
#include <optional>
#include <string>

class QDBusMessage;

namespace quoxelin {

/// One task of the package service: a method of a transaction of its own, followed to its end. To
/// destroy it is to hear no more of it. Main thread only.
class PackageKitTransaction final : public QObject {
    Q_OBJECT

  public:
    static const QString service;

    struct Outcome {
        enum class Kind { succeeded, cancelled, failed };
        Kind kind;
        /// The packages it was about: "name;version;architecture;data".
        QStringList packages;
        /// Why it failed.
        std::string error;
    };

    /// Begins at once. `ended` is called once, later, and may destroy the transaction. The service
    /// asks polkit, and polkit the user, where the task needs it.
    PackageKitTransaction(QDBusConnection bus, QString method, QVariantList arguments,
                          std::function<void(const Outcome&)> ended);

    /// Asks for its end, which is told as always.
    void cancel();

    /// The service is there no longer, perhaps because its bus is not. What it was asked for fails.
    void serviceEnded();

  private Q_SLOTS:
    void receivePackage(uint info, const QString& id, const QString& summary);
    void receiveErrorCode(uint code, const QString& details);
    void receiveFinished(uint exit, uint runtime);

  private:
    void follow(const QString& path);
    void begin();
    void call(const QString& method, const QVariantList& arguments,
              std::function<void()> succeeded);
    void end(Outcome::Kind kind);

    QDBusConnection bus;
    const QString method;
    const QVariantList arguments;
    std::function<void(const Outcome&)> ended;
    QDBusServiceWatcher watcher;
    QString path;
    bool isCancelled = false;
    QStringList packages;
    std::string error;
};

} // namespace quoxelin
