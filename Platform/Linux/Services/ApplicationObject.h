#pragma once

#include <QObject>
#include <QStringList>
#include <QVariant>
#include <functional>
#include <string>
#include <vector>

namespace quoxelin {

/// What the first instance offers on the session's bus, to later ones and to the desktop's
/// launchers. Main thread only.
class ApplicationObject final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

  public:
    struct Requests {
        /// Open these URLs.
        std::function<void(const std::vector<std::string>& urls)> open;
        /// Come to the front.
        std::function<void()> activate;
    };

    ApplicationObject(Requests requests, QObject* parent);

  public Q_SLOTS:
    void Activate(const QVariantMap& platformData);
    void Open(const QStringList& uris, const QVariantMap& platformData);
    /// The desktop entry offers no actions.
    void ActivateAction(const QString& name, const QVariantList& parameter,
                        const QVariantMap& platformData);

  private:
    Requests requests;
};

} // namespace quoxelin
