#include "Platform/Linux/Services/KeyFile.h"

#include <glib.h>

namespace quoxelin {

KeyFile::KeyFile(const std::filesystem::path& path) : file(g_key_file_new()) {
    if (!g_key_file_load_from_file(file, path.c_str(), G_KEY_FILE_NONE, nullptr)) {
        g_key_file_unref(file);
        file = g_key_file_new();
    }
}

KeyFile::~KeyFile() {
    g_key_file_unref(file);
}

std::optional<std::string> KeyFile::string(const std::string& group, const std::string& key) const {
    char* const value = g_key_file_get_string(file, group.c_str(), key.c_str(), nullptr);
    if (value == nullptr)
        return std::nullopt;
    std::string copy = value;
    g_free(value);
    return copy;
}

} // namespace quoxelin
