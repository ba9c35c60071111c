#include "Platform/Linux/Services/KeyFile.h"

#include "Platform/Linux/Services/GLib.h"

namespace quoxelin {

namespace {

using Words = std::unique_ptr<char*, decltype(&g_strfreev)>;

} // namespace

KeyFile::KeyFile(const std::filesystem::path& path) {
    const std::unique_ptr<GKeyFile, decltype(&g_key_file_unref)> file(g_key_file_new(),
                                                                      &g_key_file_unref);
    if (!g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, nullptr))
        return;
    const Words groups(g_key_file_get_groups(file.get(), nullptr), &g_strfreev);
    for (char** group = groups.get(); *group != nullptr; ++group) {
        const Words keys(g_key_file_get_keys(file.get(), *group, nullptr, nullptr), &g_strfreev);
        for (char** key = keys.get(); key != nullptr && *key != nullptr; ++key) {
            const GText value(g_key_file_get_string(file.get(), *group, *key, nullptr));
            if (value)
                values[{*group, *key}] = value.get();
        }
    }
}

std::optional<std::string> KeyFile::string(const std::string& group, const std::string& key) const {
    const auto found = values.find({group, key});
    if (found == values.end())
        return std::nullopt;
    return found->second;
}

} // namespace quoxelin
