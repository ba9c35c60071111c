#pragma once

#include "Platform/SystemExtensions.h"

#include <QObject>
#include <filesystem>
#include <map>
#include <optional>

class QProcess;

namespace quoxelin {

/// The NetworkManager VPN plugin that carries the tunnel, as the system extension: it comes with
/// the bundle, and a program that runs as root through pkexec makes it known to NetworkManager.
///
/// The authorization dismissed is `requestCanceled`; refused, or not to be had, it needs the
/// user's approval, which ends that request. Main thread only.
class NetworkManagerPlugin final : public QObject, public OSSystemExtensionManager {
  public:
    struct Places {
        /// Holds Contents/Library/SystemExtensions.
        std::filesystem::path bundle;
        /// What makes a VPN plugin known to NetworkManager.
        std::filesystem::path installedName = "/etc/NetworkManager/VPN/nm-quoxelin-service.name";
        /// A path, or a name that is looked up in PATH.
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

    /// Absent when the bundle has no such extension.
    std::optional<OSSystemExtensionProperties> bundled(const std::string& identifier) const;
    /// Absent when none is installed.
    std::optional<OSSystemExtensionProperties> installed(const std::string& identifier) const;

    const Places places;
    struct Installation {
        /// The last that asked; who asked before was superseded.
        OSSystemExtensionRequest request;
        QProcess* process;
    };
    std::map<std::string, Installation> installations;
};

} // namespace quoxelin
