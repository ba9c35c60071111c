#pragma once

#include "Platform/Linux/Services/MessageBus.h"

#include <QDBusServiceWatcher>
#include <optional>
#include <vector>

namespace quoxelin {

/// Whether a service can be had on a bus: its name has an owner or, where that counts, the bus
/// starts it on demand. Main thread only.
class ServicePresence final : public QObject {
    Q_OBJECT

  public:
    enum class Counts { running, runningOrActivatable };

    /// `changed` is called, never from within the constructor, when the answer is first known and
    /// whenever it has changed. The bus lives longer.
    ServicePresence(MessageBus& bus, QString service, Counts counts, std::function<void()> changed);

    /// False also while it is not known yet.
    bool isPresent() const { return present.value_or(false); }
    bool isKnown() const { return present.has_value(); }

    /// Hands over the answer as soon as it is known, perhaps at once.
    void whenKnown(std::function<void(bool isPresent)> completion);

  private Q_SLOTS:
    void ask();

  private:
    void follow();
    void know(bool value);

    MessageBus& bus;
    const QString service;
    const Counts counts;
    std::function<void()> changed;
    QDBusServiceWatcher watcher;
    std::optional<bool> present;
    std::vector<std::function<void(bool)>> waiting;
    /// Answers to a question that was asked again are of no interest.
    unsigned question = 0;
    Subscription busObservation;
};

} // namespace quoxelin
