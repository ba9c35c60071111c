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

/// The protocol of a tunnel that is provided by an extension.
struct NETunnelProviderProtocol {
    std::optional<std::string> providerBundleIdentifier;
    std::optional<std::string> serverAddress;
    bool disconnectOnSleep = false;

    friend bool operator==(const NETunnelProviderProtocol&,
                           const NETunnelProviderProtocol&) = default;
};

/// The content of a VPN configuration.
struct VPNConfiguration {
    std::optional<std::string> localizedDescription;
    bool isEnabled = false;
    /// Absent if there is none, or one of another kind.
    std::optional<NETunnelProviderProtocol> protocol;

    friend bool operator==(const VPNConfiguration&, const VPNConfiguration&) = default;
};

/// A VPN configuration of the system, and its tunnel.
class NETunnelProviderManager {
  public:
    virtual ~NETunnelProviderManager() = default;

    /// The content when it was last loaded or saved.
    virtual VPNConfiguration configuration() const = 0;

    /// Reads the saved configuration again. A configuration that was never saved becomes empty
    /// without an error.
    virtual void loadFromPreferences(PreferencesCompletion completion) = 0;

    /// Saves this content. The system may ask the user to allow a new configuration.
    virtual void saveToPreferences(const VPNConfiguration& configuration,
                                   PreferencesCompletion completion) = 0;

    virtual void removeFromPreferences(PreferencesCompletion completion) = 0;

    /// A raw `NEVPNStatus`. Absent if the platform has no connection for this configuration.
    virtual std::optional<int> status() const = 0;

    /// Starts the tunnel without options. Success means that the attempt began;
    /// `NEVPNStatusDidChange` reports its progress. Call this only with a status.
    virtual Result<void, Error> startVPNTunnel() = 0;

    /// Stops the tunnel. `NEVPNStatusDidChange` reports its progress.
    virtual void stopVPNTunnel() = 0;

    /// Why the tunnel ended last. Nothing if it was stopped, or if no reason is known.
    virtual void fetchLastDisconnectError(PreferencesCompletion completion) = 0;
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

    /// True if the platform hands out its own protocol object, false if it hands out copies. A
    /// value set on its own object counts as present before the object is assigned.
    virtual bool sharesProtocolObjects() const = 0;
};

} // namespace quoxelin
