#pragma once

#include "Platform/SystemExtensions.h"

#include <QObject>
#include <filesystem>
#include <map>
#include <optional>

class QProcess;

namespace quoxelin {

/// NetworkManager's VPN plugin for the tunnel, as the system extension. It comes with the bundle. A
/// program that pkexec runs as root registers it with NetworkManager.
///
/// If the user dismisses the authorization, the request ends with `requestCanceled`. If
/// authorization is refused or unavailable, it ends with `authorizationRequired` and the command
/// that an administrator can use. Main thread only.
class NetworkManagerPlugin final : public QObject, public OSSystemExtensionManager {
  public:
    struct Places {
        /// Holds Contents/Library/SystemExtensions.
        std::filesystem::path bundle;
        /// The file that registers a VPN plugin with NetworkManager.
        std::filesystem::path installedName =
            "/usr/lib/NetworkManager/VPN/nm-quoxelin-service.name";
        /// The file that lets the plugin use the system bus.
        std::filesystem::path installedPolicy = "/etc/dbus-1/system.d/nm-quoxelin-service.conf";
        /// A path, or a name to look up in PATH.
        std::string pkexec = "pkexec";
        std::filesystem::path installer;
    };

    explicit NetworkManagerPlugin(Places places) : places(std::move(places)) {}
    ~NetworkManagerPlugin() override;

    void submitRequest(const OSSystemExtensionRequest& request) override;

  private:
    void answerProperties(const OSSystemExtensionRequest& request) const;
    void activate(const OSSystemExtensionRequest& request);
    void install(const OSSystemExtensionRequest& request);
    void installerEnded(const std::string& identifier, const QProcess& process,
                        const std::string& said);

    bool hasNothingToInstall(const std::filesystem::path& folder) const;

    struct Bundled {
        OSSystemExtensionProperties properties;
        /// The folder of its files.
        std::filesystem::path folder;
    };
    /// Absent if the bundle has no such extension.
    std::optional<Bundled> bundled(const std::string& identifier) const;
    /// Absent if no extension is installed.
    std::optional<OSSystemExtensionProperties> installed(const std::string& identifier) const;

    const Places places;
    struct Installation {
        /// The latest request; it supersedes earlier ones.
        OSSystemExtensionRequest request;
        QProcess* process;
    };
    std::map<std::string, Installation> installations;
};

} // namespace quoxelin
