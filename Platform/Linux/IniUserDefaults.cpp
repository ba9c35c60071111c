#include "Platform/Linux/IniUserDefaults.h"

#include <QStandardPaths>

namespace quoxelin {

IniUserDefaults::IniUserDefaults(const std::filesystem::path& file)
    : settings(QString::fromStdString(file.string()), QSettings::IniFormat) {}

std::filesystem::path IniUserDefaults::standardFile() {
    const auto folder = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return std::filesystem::path(folder.toStdString()) / "Quoxelin" / "defaults.ini";
}

std::optional<std::string> IniUserDefaults::string(const std::string& key) const {
    const auto value = settings.value(QString::fromStdString(key));
    if (value.typeId() != QMetaType::QString)
        return std::nullopt;
    return value.toString().toStdString();
}

void IniUserDefaults::set(const std::string& key, const std::string& value) {
    settings.setValue(QString::fromStdString(key), QString::fromStdString(value));
    settings.sync();
}

void IniUserDefaults::removeObject(const std::string& key) {
    settings.remove(QString::fromStdString(key));
    settings.sync();
}

} // namespace quoxelin
