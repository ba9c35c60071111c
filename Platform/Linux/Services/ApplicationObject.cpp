#include "Platform/Linux/Services/ApplicationObject.h"

namespace quoxelin {

ApplicationObject::ApplicationObject(Requests requests, QObject* parent)
    : QObject(parent), requests(std::move(requests)) {}

void ApplicationObject::Activate(const QVariantMap&) {
    requests.activate();
}

void ApplicationObject::Open(const QStringList& uris, const QVariantMap&) {
    std::vector<std::string> urls;
    urls.reserve(static_cast<std::size_t>(uris.size()));
    for (const auto& uri : uris)
        urls.push_back(uri.toStdString());
    requests.open(urls);
}

void ApplicationObject::ActivateAction(const QString&, const QVariantList&, const QVariantMap&) {
    requests.activate();
}

} // namespace quoxelin
