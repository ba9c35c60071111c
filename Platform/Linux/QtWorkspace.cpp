#include "Platform/Linux/QtWorkspace.h"

#include "Platform/Linux/Services/GLib.h"
#include "Platform/Linux/Wayland/LayerShell.h"

#include <QStandardPaths>
#include <QString>
#include <array>
#include <gio/gdesktopappinfo.h>
#include <vector>

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

struct Settings {
    const char* desktop;
    const char* entry;
};

/// The settings application of each desktop, best first.
constexpr std::array settingsApplications{
    Settings{"GNOME", "org.gnome.Settings"},
    Settings{"GNOME", "gnome-control-center"},
    Settings{"Unity", "gnome-control-center"},
    Settings{"Budgie", "org.buddiesofbudgie.ControlCenter"},
    Settings{"Budgie", "budgie-control-center"},
    Settings{"Pantheon", "io.elementary.settings"},
    Settings{"Pantheon", "io.elementary.switchboard"},
    Settings{"COSMIC", "com.system76.CosmicSettings"},
    Settings{"KDE", "systemsettings"},
    Settings{"KDE", "org.kde.systemsettings"},
    Settings{"XFCE", "xfce-settings-manager"},
    Settings{"X-Cinnamon", "cinnamon-settings"},
    Settings{"MATE", "matecc"},
    Settings{"LXQt", "lxqt-config"},
    Settings{"LXDE", "lxde-control-center"},
    Settings{"Deepin", "dde-control-center"},
    Settings{"DDE", "org.deepin.dde.control-center"},
};

bool isSystemSettings(const std::string& bundleIdentifier) {
    return bundleIdentifier == "com.apple.SystemSettings" ||
           bundleIdentifier == "com.apple.systempreferences";
}

std::optional<std::filesystem::path> desktopEntry(const QString& name) {
    const auto entry =
        QStandardPaths::locate(QStandardPaths::ApplicationsLocation, name + ".desktop");
    if (entry.isEmpty())
        return std::nullopt;
    return entry.toStdString();
}

/// XDG_CURRENT_DESKTOP names the desktop first, then similar ones.
std::optional<std::filesystem::path> settingsEntry() {
    for (const auto& desktop : qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(':'))
        for (const auto& settings : settingsApplications)
            if (desktop.compare(QLatin1String(settings.desktop), Qt::CaseInsensitive) == 0)
                if (auto entry = desktopEntry(settings.entry))
                    return entry;
    return std::nullopt;
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
    if (isSystemSettings(bundleIdentifier))
        return settingsEntry();
    return desktopEntry(QString::fromStdString(bundleIdentifier));
}

void QtWorkspace::openApplication(const std::filesystem::path& application) {
    const GPtr<GDesktopAppInfo> entry(g_desktop_app_info_new_from_filename(application.c_str()));
    if (entry)
        launch(G_APP_INFO(entry.get()), nullptr);
}

} // namespace quoxelin
