#include "Platform/Linux/Services/PackageKitTransaction.h"

#include "Platform/Linux/Services/BusCall.h"

#include <QDBusObjectPath>
#include <limits>
#include <utility>

namespace quoxelin {

namespace {

const QString transactionInterface = QStringLiteral("org.freedesktop.PackageKit.Transaction");

/// How a transaction may have finished.
constexpr uint exitSuccess = 1;
constexpr uint exitCancelled = 3;
constexpr uint exitCancelledByPriority = 9;

} // namespace

const QString PackageKitTransaction::service = QStringLiteral("org.freedesktop.PackageKit");

PackageKitTransaction::PackageKitTransaction(QDBusConnection connection, QString method,
                                             QVariantList arguments,
                                             std::function<void(const Outcome&)> ended)
    : bus(std::move(connection)), method(std::move(method)), arguments(std::move(arguments)),
      ended(std::move(ended)), watcher(service, bus, QDBusServiceWatcher::WatchForUnregistration) {
    connect(&watcher, &QDBusServiceWatcher::serviceUnregistered, this,
            &PackageKitTransaction::serviceEnded);
    const auto create =
        QDBusMessage::createMethodCall(service, QStringLiteral("/org/freedesktop/PackageKit"),
                                       service, QStringLiteral("CreateTransaction"));
    callAsync(bus, create, *this, [this](const QDBusMessage& reply) {
        if (reply.type() == QDBusMessage::ReplyMessage) {
            follow(qvariant_cast<QDBusObjectPath>(reply.arguments().value(0)).path());
            return;
        }
        error = errorText(reply);
        end(Outcome::Kind::failed);
    });
}

void PackageKitTransaction::follow(const QString& transaction) {
    path = transaction;
    const auto listen = [this](const char* signal, const char* slot) {
        bus.connect(service, path, transactionInterface, signal, this, slot);
    };
    listen("Package", SLOT(receivePackage(uint, QString, QString)));
    listen("ErrorCode", SLOT(receiveErrorCode(uint, QString)));
    listen("Finished", SLOT(receiveFinished(uint, uint)));
    if (isCancelled)
        end(Outcome::Kind::cancelled);
    else
        call(QStringLiteral("SetHints"), {QStringList{QStringLiteral("interactive=true")}},
             [this] { begin(); });
}

void PackageKitTransaction::begin() {
    call(method, arguments, [] {});
}

/// The reply to a task may wait for a person; its outcome comes as signals.
void PackageKitTransaction::call(const QString& name, const QVariantList& values,
                                 std::function<void()> succeeded) {
    auto message = QDBusMessage::createMethodCall(service, path, transactionInterface, name);
    message.setArguments(values);
    callAsync(
        bus, message, *this,
        [this, succeeded = std::move(succeeded)](const QDBusMessage& reply) {
            if (reply.type() == QDBusMessage::ReplyMessage) {
                succeeded();
                return;
            }
            error = errorText(reply);
            end(Outcome::Kind::failed);
        },
        std::numeric_limits<int>::max());
}

void PackageKitTransaction::cancel() {
    isCancelled = true;
    if (!path.isEmpty())
        bus.send(QDBusMessage::createMethodCall(service, path, transactionInterface,
                                                QStringLiteral("Cancel")));
}

void PackageKitTransaction::serviceEnded() {
    error = "The package service has ended.";
    end(Outcome::Kind::failed);
}

void PackageKitTransaction::receivePackage(uint, const QString& id, const QString&) {
    packages.push_back(id);
}

void PackageKitTransaction::receiveErrorCode(uint, const QString& details) {
    error = details.toStdString();
}

void PackageKitTransaction::receiveFinished(uint exit, uint) {
    if (exit == exitSuccess)
        end(Outcome::Kind::succeeded);
    else if (exit == exitCancelled || exit == exitCancelledByPriority)
        end(Outcome::Kind::cancelled);
    else
        end(Outcome::Kind::failed);
}

void PackageKitTransaction::end(Outcome::Kind kind) {
    if (const auto once = std::exchange(ended, nullptr))
        once({kind, packages, error.empty() ? "The package service gave no reason." : error});
}

} // namespace quoxelin
