#include "Platform/Linux/QtWorkspace.h"

#include <QDesktopServices>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
#include <QUrl>

namespace quoxelin {

bool QtWorkspace::open(const Url& url) {
    return QDesktopServices::openUrl(QUrl::fromEncoded(QByteArray::fromStdString(url.text())));
}

void QtWorkspace::openFolder(const std::filesystem::path& folder) {
    QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(folder.string())));
}

std::optional<std::filesystem::path>
QtWorkspace::urlForApplication(const std::string& bundleIdentifier) const {
    const auto entry =
        QStandardPaths::locate(QStandardPaths::ApplicationsLocation,
                               QString::fromStdString(bundleIdentifier) + ".desktop");
    if (entry.isEmpty())
        return std::nullopt;
    return entry.toStdString();
}

void QtWorkspace::openApplication(const std::filesystem::path& application) {
    const QSettings entry(QString::fromStdString(application.string()), QSettings::IniFormat);
    auto command = entry.value("Desktop Entry/Exec").toString();
    command.remove(
        QRegularExpression("%[a-zA-Z]")); // places for files and URLs, of which we have none
    auto words = QProcess::splitCommand(command);
    if (words.isEmpty())
        return;
    const auto program = words.takeFirst();
    QProcess::startDetached(program, words);
}

} // namespace quoxelin
