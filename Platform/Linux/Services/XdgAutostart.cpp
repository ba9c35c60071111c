#include "Platform/Linux/Services/XdgAutostart.h"

#include "Platform/Linux/Services/GLib.h"
#include "Platform/Linux/Services/KeyFile.h"
#include "Platform/Linux/Services/ServiceManagementError.h"

#include <glib/gstdio.h>

namespace quoxelin {

namespace {

constexpr const char* entryName = "com.quoxelin.desktop.desktop";

tl::unexpected<Error> systemFailure(const std::filesystem::path& path, int reason) {
    const auto code =
        reason == ENOENT ? ServiceErrorCode::jobNotFound : ServiceErrorCode::internalFailure;
    return serviceFailure(code, path.string() + ": " + g_strerror(reason));
}

} // namespace

std::filesystem::path XdgAutostart::userDirectory() {
    return std::filesystem::path(g_get_user_config_dir()) / "autostart";
}

XdgAutostart::XdgAutostart(const std::filesystem::path& bundle,
                           const std::filesystem::path& directory)
    : original(bundle / "Contents" / "Library" / "LoginItems" / entryName),
      entry(directory / entryName) {}

void XdgAutostart::registerService(Completion<void, Error> completion) {
    if (current() == SMAppServiceStatus::requiresApproval)
        completion(serviceFailure(ServiceErrorCode::notPermitted,
                                  entry.string() + " has been switched off"));
    else
        completion(write());
}

Result<void, Error> XdgAutostart::unregisterService() {
    if (g_unlink(entry.c_str()) != 0)
        return systemFailure(entry, errno);
    return {};
}

void XdgAutostart::status(std::function<void(int)> completion) {
    completion(static_cast<int>(current()));
}

SMAppServiceStatus XdgAutostart::current() const {
    const KeyFile file(entry);
    if (file.isEmpty())
        return SMAppServiceStatus::notRegistered;
    const auto is = [&](const char* key, const char* absent) {
        return file.string(G_KEY_FILE_DESKTOP_GROUP, key).value_or(absent) == "true";
    };
    const bool isOff = is("Hidden", "false") || !is("X-GNOME-Autostart-enabled", "true");
    return isOff ? SMAppServiceStatus::requiresApproval : SMAppServiceStatus::enabled;
}

/// Replaces the file as a whole, so that readers never see a partial one.
Result<void, Error> XdgAutostart::write() const {
    GFailure failure;
    char* text = nullptr;
    gsize length = 0;
    if (g_file_get_contents(original.c_str(), &text, &length, failure.out()) == FALSE)
        return serviceFailure(ServiceErrorCode::internalFailure, failure.text());
    const GText owned(text);
    if (g_mkdir_with_parents(entry.parent_path().c_str(), 0700) != 0)
        return systemFailure(entry.parent_path(), errno);
    if (g_file_set_contents_full(entry.c_str(), text, static_cast<gssize>(length),
                                 G_FILE_SET_CONTENTS_CONSISTENT, 0644, failure.out()) == FALSE)
        return serviceFailure(ServiceErrorCode::internalFailure, failure.text());
    return {};
}

} // namespace quoxelin
