#include "Platform/macOS/MacNetworkExtension.h"

#include "Base/NotificationCenter.h"
#include "Platform/macOS/FrameworkNotifications.h"
#include "Platform/macOS/ObjC.h"

#include <Availability.h>
#import <NetworkExtension/NetworkExtension.h>

// New in macOS 13, which older SDKs lack. Every supported system has it.
#if !defined(__MAC_13_0) || __MAC_OS_X_VERSION_MAX_ALLOWED < __MAC_13_0
@interface NEVPNConnection (LastDisconnectError)
- (void)fetchLastDisconnectErrorWithCompletionHandler:(void (^)(NSError* error))handler;
@end
#endif

namespace quoxelin {

namespace {

static_assert(static_cast<int>(NEVPNStatus::invalid) == NEVPNStatusInvalid);
static_assert(static_cast<int>(NEVPNStatus::disconnected) == NEVPNStatusDisconnected);
static_assert(static_cast<int>(NEVPNStatus::connecting) == NEVPNStatusConnecting);
static_assert(static_cast<int>(NEVPNStatus::connected) == NEVPNStatusConnected);
static_assert(static_cast<int>(NEVPNStatus::reasserting) == NEVPNStatusReasserting);
static_assert(static_cast<int>(NEVPNStatus::disconnecting) == NEVPNStatusDisconnecting);
static_assert(static_cast<int>(NEVPNError::configurationInvalid) == NEVPNErrorConfigurationInvalid);
static_assert(static_cast<int>(NEVPNError::configurationDisabled) ==
              NEVPNErrorConfigurationDisabled);
static_assert(static_cast<int>(NEVPNError::configurationUnknown) == NEVPNErrorConfigurationUnknown);

/// Calls the completion from the framework's block, or directly if the framework throws.
template <typename Call> void answering(PreferencesCompletion completion, Call call) {
    const auto answered = ^(NSError* error) {
        completion(toOptionalError(error));
    };
    const auto called = withoutExceptions([&] { call(answered); });
    if (!called)
        completion(called.error());
}

std::optional<std::string> optionalString(NSString* text) {
    return text == nil ? std::nullopt : std::optional(toString(text));
}

NSString* optionalNSString(const std::optional<std::string>& text) {
    return text ? toNSString(*text) : nil;
}

/// Nil if the manager has none, or one of another kind.
::NETunnelProviderProtocol* tunnelProtocolOf(::NETunnelProviderManager* manager) {
    ::NEVPNProtocol* const protocol = manager.protocolConfiguration;
    return [protocol isKindOfClass:[::NETunnelProviderProtocol class]]
               ? static_cast<::NETunnelProviderProtocol*>(protocol)
               : nil;
}

class Manager final : public NETunnelProviderManager {
  public:
    explicit Manager(::NETunnelProviderManager* manager) : manager(manager) {}

    VPNConfiguration configuration() const override {
        VPNConfiguration result{optionalString(manager.localizedDescription),
                                static_cast<bool>(manager.enabled), std::nullopt};
        if (::NETunnelProviderProtocol* const protocol = tunnelProtocolOf(manager))
            result.protocol = {optionalString(protocol.providerBundleIdentifier),
                               optionalString(protocol.serverAddress),
                               static_cast<bool>(protocol.disconnectOnSleep)};
        return result;
    }

    void loadFromPreferences(PreferencesCompletion completion) override {
        answering(completion,
                  [&](auto block) { [manager loadFromPreferencesWithCompletionHandler:block]; });
    }

    /// Leaves properties that the record does not have unchanged.
    void saveToPreferences(const VPNConfiguration& configuration,
                           PreferencesCompletion completion) override {
        manager.localizedDescription = optionalNSString(configuration.localizedDescription);
        manager.enabled = configuration.isEnabled;
        if (const auto& record = configuration.protocol) {
            ::NETunnelProviderProtocol* protocol = tunnelProtocolOf(manager);
            if (protocol == nil)
                protocol = [[::NETunnelProviderProtocol alloc] init];
            protocol.providerBundleIdentifier = optionalNSString(record->providerBundleIdentifier);
            protocol.serverAddress = optionalNSString(record->serverAddress);
            protocol.disconnectOnSleep = record->disconnectOnSleep;
            manager.protocolConfiguration = protocol;
        }
        answering(completion,
                  [&](auto block) { [manager saveToPreferencesWithCompletionHandler:block]; });
    }

    void removeFromPreferences(PreferencesCompletion completion) override {
        answering(completion,
                  [&](auto block) { [manager removeFromPreferencesWithCompletionHandler:block]; });
    }

    std::optional<int> status() const override {
        return manager.connection == nil
                   ? std::nullopt
                   : std::optional(static_cast<int>(manager.connection.status));
    }

    Result<void, Error> startVPNTunnel() override {
        return withError([&](NSError** error) {
            return [manager.connection startVPNTunnelWithOptions:nil andReturnError:error];
        });
    }

    void stopVPNTunnel() override { [manager.connection stopVPNTunnel]; }

    void fetchLastDisconnectError(PreferencesCompletion completion) override {
        answering(completion, [&](auto block) {
            [manager.connection fetchLastDisconnectErrorWithCompletionHandler:block];
        });
    }

  private:
    ::NETunnelProviderManager* manager;
};

} // namespace

MacNetworkExtension::MacNetworkExtension(NotificationCenter& notificationCenter)
    : notifications(std::make_unique<FrameworkNotifications>()) {
    notifications->observe(NEVPNStatusDidChangeNotification, [&notificationCenter] {
        notificationCenter.post(NEVPNStatusDidChange);
    });
    notifications->observe(NEVPNConfigurationChangeNotification, [&notificationCenter] {
        notificationCenter.post(NEVPNConfigurationChange);
    });
}

MacNetworkExtension::~MacNetworkExtension() = default;

void MacNetworkExtension::loadAllFromPreferences(Completion<Managers, Error> completion) {
    const auto answered = ^(NSArray<::NETunnelProviderManager*>* found, NSError* error) {
        if (error != nil) {
            completion(tl::unexpected(toError(error)));
            return;
        }
        Managers managers;
        for (::NETunnelProviderManager* manager in found)
            managers.push_back(std::make_shared<Manager>(manager));
        completion(std::move(managers));
    };
    const auto called = withoutExceptions(
        [&] { [::NETunnelProviderManager loadAllFromPreferencesWithCompletionHandler:answered]; });
    if (!called)
        completion(tl::unexpected(called.error()));
}

std::shared_ptr<NETunnelProviderManager> MacNetworkExtension::makeTunnelProviderManager() {
    return std::make_shared<Manager>([[::NETunnelProviderManager alloc] init]);
}

} // namespace quoxelin
