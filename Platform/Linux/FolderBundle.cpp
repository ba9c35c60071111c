#include "Platform/Linux/FolderBundle.h"

#include <QFile>
#include <QXmlStreamReader>
#include <system_error>

namespace quoxelin {

namespace {

std::optional<std::string> find(const std::map<std::string, std::string>& strings,
                                const std::string& key) {
    const auto found = strings.find(key);
    if (found == strings.end())
        return std::nullopt;
    return found->second;
}

} // namespace

FolderBundle::FolderBundle(std::filesystem::path root)
    : root(std::move(root)), information(readInfoDictionary(this->root)) {}

std::filesystem::path FolderBundle::rootOfThisProgram() {
    std::error_code failure;
    auto folder = std::filesystem::read_symlink("/proc/self/exe", failure).parent_path();
    if (std::filesystem::exists(folder / "Contents", failure))
        return folder;
    return (folder / ".." / "lib" / "quoxelin-desktop").lexically_normal();
}

/// Reads the top level's string members of an XML property list; empty if it is missing or broken.
FolderBundle::Strings FolderBundle::readInfoDictionary(const std::filesystem::path& root) {
    QFile file(QString::fromStdString((root / "Contents" / "Info.plist").string()));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QXmlStreamReader xml(&file);
    Strings strings;
    if (!xml.readNextStartElement() || xml.name() != u"plist" || !xml.readNextStartElement() ||
        xml.name() != u"dict")
        return {};
    QString key;
    while (xml.readNextStartElement()) {
        if (xml.name() == u"key")
            key = xml.readElementText();
        else if (xml.name() == u"string")
            strings[key.toStdString()] = xml.readElementText().toStdString();
        else
            xml.skipCurrentElement();
    }
    return xml.hasError() ? Strings{} : strings;
}

std::optional<std::string> FolderBundle::bundleIdentifier() const {
    return stringForInfoDictionaryKey("CFBundleIdentifier");
}

std::optional<std::string> FolderBundle::stringForInfoDictionaryKey(const std::string& key) const {
    return find(information, key);
}

std::optional<std::string> FolderBundle::pathForResource(const std::string& name) const {
    const auto path = root / "Contents" / "Resources" / name;
    std::error_code failure;
    if (!std::filesystem::exists(path, failure))
        return std::nullopt;
    return path.string();
}

std::optional<std::string>
FolderBundle::identifierOfBundleAt(const std::filesystem::path& path) const {
    return find(readInfoDictionary(path), "CFBundleIdentifier");
}

} // namespace quoxelin
