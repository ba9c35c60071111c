#include "Platform/Linux/QtWorkspace.h"

#include "Platform/Linux/Services/GLib.h"
#include "Platform/Linux/Wayland/LayerShell.h"

#include <QStandardPaths>
#include <QString>
#include <gio/gdesktopappinfo.h>

namespace quoxelin {

namespace {

using Application = GPtr<GAppInfo>;

/// Returns at once. Failures are ignored because the user could not act on them.
void launch(GAppInfo* application, const std::string* uri) {
    GList* const uris =
        uri == nullptr ? nullptr : g_list_append(nullptr, const_cast<char*>(uri->c_str()));
    const GPtr<GAppLaunchContext> context(g_app_launch_context_new());
    for (const auto* variable : LayerShell::environmentVariables())
        g_app_launch_context_unsetenv(context.get(), variable);
    g_app_info_launch_uris_async(application, uris, context.get(), nullptr, nullptr, nullptr);
    g_list_free(uris);
}

std::optional<std::filesystem::path> desktopEntry(const QString& name) {
    const auto entry =
        QStandardPaths::locate(QStandardPaths::ApplicationsLocation, name + ".desktop");
    if (entry.isEmpty())
        return std::nullopt;
    return entry.toStdString();
}

} // namespace

bool QtWorkspace::open(const Url& url) {
    const auto scheme = url.scheme();
    if (scheme.empty())
        return false;
    const Application handler(g_app_info_get_default_for_uri_scheme(scheme.c_str()));
    if (!handler)
        return false;
    launch(handler.get(), &url.text());
    return true;
}

void QtWorkspace::openFolder(const std::filesystem::path& folder) {
    const Application handler(g_app_info_get_default_for_type("inode/directory", TRUE));
    const GText uri(g_filename_to_uri(folder.c_str(), nullptr, nullptr));
    if (!handler || !uri)
        return;
    const std::string text = uri.get();
    launch(handler.get(), &text);
}

std::optional<std::filesystem::path>
QtWorkspace::urlForApplication(const std::string& bundleIdentifier) const {
    return desktopEntry(QString::fromStdString(bundleIdentifier));
}

void QtWorkspace::openApplication(const std::filesystem::path& application) {
    const GPtr<GDesktopAppInfo> entry(g_desktop_app_info_new_from_filename(application.c_str()));
    if (entry)
        launch(G_APP_INFO(entry.get()), nullptr);
}

} // namespace quoxelin
