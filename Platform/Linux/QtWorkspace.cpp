#include "Platform/Linux/QtWorkspace.h"

#include "Platform/Linux/Services/GLib.h"
#include "Platform/Linux/Wayland/LayerShell.h"

#include <QLibrary>
#include <QStandardPaths>
#include <QString>
#include <gio/gdesktopappinfo.h>

namespace quoxelin {

namespace {

/// GIO's functions. They are null if the library is missing or broken.
struct GIO {
    QLibrary library{"gio-2.0", 0};

    template <typename Function>
    Function* find(const char* name) {
        return reinterpret_cast<Function*>(library.resolve(name));
    }

#define QUOXELIN_FIND(name) decltype(::name)* const name = find<decltype(::name)>(#name)
    QUOXELIN_FIND(g_app_info_get_default_for_type);
    QUOXELIN_FIND(g_app_info_get_default_for_uri_scheme);
    QUOXELIN_FIND(g_app_info_launch_uris_async);
    QUOXELIN_FIND(g_app_launch_context_new);
    QUOXELIN_FIND(g_app_launch_context_unsetenv);
    QUOXELIN_FIND(g_desktop_app_info_new_from_filename);
    QUOXELIN_FIND(g_object_unref);
#undef QUOXELIN_FIND
};

/// Loaded when something is opened for the first time: the program starts and idles without it.
/// Null if it cannot be loaded; the next call tries again.
const GIO* gio() {
    static std::optional<GIO> only;
    if (!only || !only->library.isLoaded())
        only.emplace();
    return only->library.isLoaded() ? &*only : nullptr;
}

struct Unref {
    void operator()(gpointer object) const { gio()->g_object_unref(object); }
};

template <typename Object>
using Owned = std::unique_ptr<Object, Unref>;

/// Returns at once. Failures are ignored because the user could not act on them.
void launch(GAppInfo* application, const std::string* uri) {
    GList* const uris =
        uri == nullptr ? nullptr : g_list_append(nullptr, const_cast<char*>(uri->c_str()));
    const Owned<GAppLaunchContext> context(gio()->g_app_launch_context_new());
    for (const auto* variable : LayerShell::environmentVariables())
        gio()->g_app_launch_context_unsetenv(context.get(), variable);
    gio()->g_app_info_launch_uris_async(application, uris, context.get(), nullptr, nullptr,
                                        nullptr);
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
    if (scheme.empty() || gio() == nullptr)
        return false;
    const Owned<GAppInfo> handler(gio()->g_app_info_get_default_for_uri_scheme(scheme.c_str()));
    if (!handler)
        return false;
    launch(handler.get(), &url.text());
    return true;
}

void QtWorkspace::openFolder(const std::filesystem::path& folder) {
    if (gio() == nullptr)
        return;
    const Owned<GAppInfo> handler(gio()->g_app_info_get_default_for_type("inode/directory", TRUE));
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
    if (gio() == nullptr)
        return;
    const Owned<GDesktopAppInfo> entry(
        gio()->g_desktop_app_info_new_from_filename(application.c_str()));
    if (entry) // it implements GAppInfo
        launch(reinterpret_cast<GAppInfo*>(entry.get()), nullptr);
}

} // namespace quoxelin
