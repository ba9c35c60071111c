#include "Platform/macOS/MacNetworkExtension.h"

#include "Base/NotificationCenter.h"
#include "Platform/macOS/FrameworkNotifications.h"
#include "Platform/macOS/ObjC.h"

#import <NetworkExtension/NetworkExtension.h>

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

class Connection final : public NEVPNConnection {
  public:
    explicit Connection(::NEVPNConnection* connection) : connection(connection) {}

    int status() const override { return static_cast<int>(connection.status); }

    Result<void, Error> startVPNTunnel() override {
        return withError([&](NSError** error) {
            return [connection startVPNTunnelWithOptions:nil andReturnError:error];
        });
    }

    void stopVPNTunnel() override { [connection stopVPNTunnel]; }

  private:
    ::NEVPNConnection* connection;
};

std::shared_ptr<NEVPNProtocol> recordOf(::NEVPNProtocol* shown) {
    if (shown == nil)
        return nullptr;
    std::shared_ptr<NEVPNProtocol> record;
    if ([shown isKindOfClass:[::NETunnelProviderProtocol class]]) {
        const auto tunnel = std::make_shared<NETunnelProviderProtocol>();
        NSString* identifier =
            static_cast<::NETunnelProviderProtocol*>(shown).providerBundleIdentifier;
        if (identifier != nil)
            tunnel->providerBundleIdentifier = toString(identifier);
        record = tunnel;
    } else {
        record = std::make_shared<NEVPNProtocol>();
    }
    if (shown.serverAddress != nil)
        record->serverAddress = toString(shown.serverAddress);
    record->disconnectOnSleep = shown.disconnectOnSleep;
    return record;
}

NSString* optionalNSString(const std::optional<std::string>& text) {
    return text ? toNSString(*text) : nil;
}

/// Leaves properties that the record does not have unchanged.
void write(const NEVPNProtocol& record, ::NEVPNProtocol* shown) {
    if (const auto* tunnel = dynamic_cast<const NETunnelProviderProtocol*>(&record))
        static_cast<::NETunnelProviderProtocol*>(shown).providerBundleIdentifier =
            optionalNSString(tunnel->providerBundleIdentifier);
    shown.serverAddress = optionalNSString(record.serverAddress);
    shown.disconnectOnSleep = record.disconnectOnSleep;
}

class Manager final : public NETunnelProviderManager {
  public:
    explicit Manager(::NETunnelProviderManager* manager) : manager(manager) {}

    void loadFromPreferences(PreferencesCompletion completion) override {
        protocol = {};
        answering(completion,
                  [&](auto block) { [manager loadFromPreferencesWithCompletionHandler:block]; });
    }

    void saveToPreferences(PreferencesCompletion completion) override {
        if (protocol.record && protocol.shown == manager.protocolConfiguration)
            write(*protocol.record, protocol.shown);
        answering(completion,
                  [&](auto block) { [manager saveToPreferencesWithCompletionHandler:block]; });
    }

    void removeFromPreferences(PreferencesCompletion completion) override {
        answering(completion,
                  [&](auto block) { [manager removeFromPreferencesWithCompletionHandler:block]; });
    }

    /// The framework returns its live object rather than a copy, so this returns the same record
    /// until that object is replaced. Changes to the record are saved without an assignment.
    std::shared_ptr<NEVPNProtocol> protocolConfiguration() const override {
        ::NEVPNProtocol* const current = manager.protocolConfiguration;
        if (!protocol.record || protocol.shown != current)
            protocol = {recordOf(current), current};
        return protocol.record;
    }

    void setProtocolConfiguration(std::shared_ptr<NEVPNProtocol> record) override {
        ::NEVPNProtocol* shown = record ? manager.protocolConfiguration : nil;
        const bool isTunnel = dynamic_cast<NETunnelProviderProtocol*>(record.get()) != nullptr;
        if (isTunnel && ![shown isKindOfClass:[::NETunnelProviderProtocol class]])
            shown = [[::NETunnelProviderProtocol alloc] init];
        if (record)
            write(*record, shown);
        manager.protocolConfiguration = shown;
        protocol = {std::move(record), shown};
    }

    std::optional<std::string> localizedDescription() const override {
        if (manager.localizedDescription == nil)
            return std::nullopt;
        return toString(manager.localizedDescription);
    }

    void setLocalizedDescription(const std::string& description) override {
        manager.localizedDescription = toNSString(description);
    }

    bool isEnabled() const override { return manager.enabled; }
    void setEnabled(bool enabled) override { manager.enabled = enabled; }

    std::shared_ptr<NEVPNConnection> connection() const override {
        if (manager.connection == nil)
            return nullptr;
        return std::make_shared<Connection>(manager.connection);
    }

  private:
    /// The record returned last, and the framework's object that it was made from.
    struct Protocol {
        std::shared_ptr<NEVPNProtocol> record;
        ::NEVPNProtocol* shown = nil;
    };

    ::NETunnelProviderManager* manager;
    mutable Protocol protocol;
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
