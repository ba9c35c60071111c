#pragma once

#include "Base/Error.h"
#include "Base/Result.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quoxelin {

// The packet-tunnel part of the NetworkExtension framework. Main thread only; completions come on
// any thread.

/// The framework's raw values. A platform may report others.
enum class NEVPNStatus : int {
    invalid = 0,
    disconnected = 1,
    connecting = 2,
    connected = 3,
    reasserting = 4,
    disconnecting = 5,
};

/// The domain and codes of a failed tunnel start.
inline constexpr const char* NEVPNErrorDomain = "NEVPNErrorDomain";
enum class NEVPNError : int {
    configurationInvalid = 1,
    configurationDisabled = 2,
    connectionFailed = 3,
    configurationStale = 4,
    configurationReadWriteFailed = 5,
    configurationUnknown = 6,
};

/// Posted on the default notification centre, on the main thread, with no object: the status of any
/// connection changed; any saved configuration was added, changed or removed.
inline constexpr const char* NEVPNStatusDidChange = "com.apple.networkextension.statuschanged";
inline constexpr const char* NEVPNConfigurationChange =
    "com.apple.networkextension.configurationchange";

/// Answers with nothing, or with the platform's error.
using PreferencesCompletion = std::function<void(std::optional<Error>)>;

/// The protocol part of a VPN configuration, of whatever kind.
class NEVPNProtocol {
  public:
    virtual ~NEVPNProtocol() = default;

    std::optional<std::string> serverAddress;
    bool disconnectOnSleep = false;
};

/// The protocol of a tunnel that an extension carries.
class NETunnelProviderProtocol final : public NEVPNProtocol {
  public:
    std::optional<std::string> providerBundleIdentifier;
};

/// The tunnel behind a configuration.
class NEVPNConnection {
  public:
    virtual ~NEVPNConnection() = default;

    /// A raw `NEVPNStatus`.
    virtual int status() const = 0;

    /// Asks for the tunnel with no options. Success means that the attempt began; how it goes on
    /// is told by `NEVPNStatusDidChange`.
    virtual Result<void, Error> startVPNTunnel() = 0;

    /// Asks for the tunnel's end; told by `NEVPNStatusDidChange`.
    virtual void stopVPNTunnel() = 0;
};

/// One VPN configuration, in memory until it is saved.
class NETunnelProviderManager {
  public:
    virtual ~NETunnelProviderManager() = default;

    /// Reads the saved configuration again; a configuration that was never saved reads as empty
    /// without an error.
    virtual void loadFromPreferences(PreferencesCompletion completion) = 0;

    /// Saves it. The user may be asked to allow a new one.
    virtual void saveToPreferences(PreferencesCompletion completion) = 0;

    virtual void removeFromPreferences(PreferencesCompletion completion) = 0;

    /// Null when there is none. Whether changes to the object reach the configuration without an
    /// assignment is the platform's affair.
    virtual std::shared_ptr<NEVPNProtocol> protocolConfiguration() const = 0;
    virtual void setProtocolConfiguration(std::shared_ptr<NEVPNProtocol> protocol) = 0;

    virtual std::optional<std::string> localizedDescription() const = 0;
    virtual void setLocalizedDescription(const std::string& description) = 0;

    virtual bool isEnabled() const = 0;
    virtual void setEnabled(bool enabled) = 0;

    /// Null when the platform has none for this configuration.
    virtual std::shared_ptr<NEVPNConnection> connection() const = 0;
};

/// The entrance to the saved configurations.
class NetworkExtension {
  public:
    using Managers = std::vector<std::shared_ptr<NETunnelProviderManager>>;

    virtual ~NetworkExtension() = default;

    /// All tunnel configurations that this application may see, in the platform's order.
    virtual void loadAllFromPreferences(Completion<Managers, Error> completion) = 0;

    /// A new, empty configuration.
    virtual std::shared_ptr<NETunnelProviderManager> makeTunnelProviderManager() = 0;
};

} // namespace quoxelin
