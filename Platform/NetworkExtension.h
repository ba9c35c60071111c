#pragma once

#include "Base/Error.h"
#include "Base/Result.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quoxelin {

// The packet-tunnel part of the NetworkExtension framework. Main thread only; completions may come
// on any thread.

/// The framework's raw values. A platform may report others.
enum class NEVPNStatus : int {
    invalid = 0,
    disconnected = 1,
    connecting = 2,
    connected = 3,
    reasserting = 4,
    disconnecting = 5,
};

/// The error domain and codes of a tunnel that failed to start.
inline constexpr const char* NEVPNErrorDomain = "NEVPNErrorDomain";
enum class NEVPNError : int {
    configurationInvalid = 1,
    configurationDisabled = 2,
    connectionFailed = 3,
    configurationStale = 4,
    configurationReadWriteFailed = 5,
    configurationUnknown = 6,
};

/// Posted on the default notification center when the status of any connection changes, and when a
/// saved configuration is added, changed or removed. Main thread; no object.
inline constexpr const char* NEVPNStatusDidChange = "com.apple.networkextension.statuschanged";
inline constexpr const char* NEVPNConfigurationChange =
    "com.apple.networkextension.configurationchange";

/// Receives the platform's error, or nothing on success.
using PreferencesCompletion = std::function<void(std::optional<Error>)>;

/// The protocol part of a VPN configuration.
class NEVPNProtocol {
  public:
    virtual ~NEVPNProtocol() = default;

    std::optional<std::string> serverAddress;
    bool disconnectOnSleep = false;
};

/// The protocol of a tunnel that is provided by an extension.
class NETunnelProviderProtocol final : public NEVPNProtocol {
  public:
    std::optional<std::string> providerBundleIdentifier;
};

/// The tunnel of a configuration.
class NEVPNConnection {
  public:
    virtual ~NEVPNConnection() = default;

    /// A raw `NEVPNStatus`.
    virtual int status() const = 0;

    /// Starts the tunnel without options. Success means that the attempt began;
    /// `NEVPNStatusDidChange` reports its progress.
    virtual Result<void, Error> startVPNTunnel() = 0;

    /// Stops the tunnel. `NEVPNStatusDidChange` reports its progress.
    virtual void stopVPNTunnel() = 0;
};

/// A VPN configuration, kept in memory until it is saved.
class NETunnelProviderManager {
  public:
    virtual ~NETunnelProviderManager() = default;

    /// Reads the saved configuration again. A configuration that was never saved becomes empty
    /// without an error.
    virtual void loadFromPreferences(PreferencesCompletion completion) = 0;

    /// Saves the configuration. The system may ask the user to allow a new one.
    virtual void saveToPreferences(PreferencesCompletion completion) = 0;

    virtual void removeFromPreferences(PreferencesCompletion completion) = 0;

    /// Null if there is none. Assign the object after changing it: not every platform applies the
    /// changes otherwise.
    virtual std::shared_ptr<NEVPNProtocol> protocolConfiguration() const = 0;
    virtual void setProtocolConfiguration(std::shared_ptr<NEVPNProtocol> protocol) = 0;

    virtual std::optional<std::string> localizedDescription() const = 0;
    virtual void setLocalizedDescription(const std::string& description) = 0;

    virtual bool isEnabled() const = 0;
    virtual void setEnabled(bool enabled) = 0;

    /// Null if the platform has no connection for this configuration.
    virtual std::shared_ptr<NEVPNConnection> connection() const = 0;
};

/// Access to the saved configurations.
class NetworkExtension {
  public:
    using Managers = std::vector<std::shared_ptr<NETunnelProviderManager>>;

    virtual ~NetworkExtension() = default;

    /// All tunnel configurations visible to this application, in the platform's order.
    virtual void loadAllFromPreferences(Completion<Managers, Error> completion) = 0;

    /// Makes an empty configuration.
    virtual std::shared_ptr<NETunnelProviderManager> makeTunnelProviderManager() = 0;
};

} // namespace quoxelin
