#import <NetworkExtension/NetworkExtension.h>

#import "Tests/Platform/macOS/Stage/Stage.h"

using quoxelin::stage::answerLater;
using quoxelin::stage::outcomeOf;

NSString* const NEVPNErrorDomain = @"NEVPNErrorDomain";
NSString* const NEVPNStatusDidChangeNotification = @"com.apple.networkextension.statuschanged";
NSString* const NEVPNConfigurationChangeNotification =
    @"com.apple.networkextension.configurationchange";

static NSError* vpnError(NEVPNError code) {
    return [NSError errorWithDomain:NEVPNErrorDomain code:code userInfo:nil];
}

static void post(NSNotificationName name, id sender) {
    [[NSNotificationCenter defaultCenter] postNotificationName:name object:sender];
}

@implementation NEVPNProtocol

- (id)copyWithZone:(NSZone*)zone {
    NEVPNProtocol* const copy = [[[self class] alloc] init];
    copy.serverAddress = self.serverAddress;
    copy.disconnectOnSleep = self.disconnectOnSleep;
    return copy;
}

@end

@implementation NETunnelProviderProtocol

- (id)copyWithZone:(NSZone*)zone {
    NETunnelProviderProtocol* const copy = [super copyWithZone:zone];
    copy.providerBundleIdentifier = self.providerBundleIdentifier;
    return copy;
}

@end

/// A saved configuration.
@interface StageConfiguration : NSObject
@property(copy) NEVPNProtocol* protocol;
@property(copy) NSString* name;
@property BOOL enabled;
@property(strong) NEVPNConnection* connection;
@end

@implementation StageConfiguration
@end

static NSMutableArray<StageConfiguration*>* savedConfigurations() {
    static NSMutableArray<StageConfiguration*>* const all = [NSMutableArray array];
    static dispatch_once_t once;
    dispatch_once(&once, ^{
        quoxelin::stage::onReset(^{
            [all removeAllObjects];
        });
    });
    return all;
}

@interface NEVPNConnection ()
@property NEVPNStatus status;
@property(weak) StageConfiguration* configuration;
@end

@implementation NEVPNConnection

- (void)become:(NEVPNStatus)status {
    self.status = status;
    post(NEVPNStatusDidChangeNotification, self);
}

- (BOOL)startVPNTunnelAndReturnError:(NSError**)error {
    return [self startVPNTunnelWithOptions:nil andReturnError:error];
}

- (BOOL)startVPNTunnelWithOptions:(NSDictionary<NSString*, NSObject*>*)options
                   andReturnError:(NSError**)error {
    NSError* failure = outcomeOf(@"startVPNTunnel");
    if (![savedConfigurations() containsObject:self.configuration])
        failure = vpnError(NEVPNErrorConfigurationInvalid);
    else if (!self.configuration.enabled)
        failure = vpnError(NEVPNErrorConfigurationDisabled);
    if (failure != nil) {
        if (error != nullptr)
            *error = failure;
        return NO;
    }
    answerLater(@"connecting", dispatch_get_main_queue(), ^(NSError*) {
        [self become:NEVPNStatusConnecting];
        answerLater(@"connected", dispatch_get_main_queue(), ^(NSError* refused) {
            [self become:refused == nil ? NEVPNStatusConnected : NEVPNStatusDisconnected];
        });
    });
    return YES;
}

- (void)fetchLastDisconnectErrorWithCompletionHandler:(void (^)(NSError*))handler {
    answerLater(@"fetchLastDisconnectError", dispatch_get_main_queue(), handler);
}

- (void)stopVPNTunnel {
    answerLater(@"stopVPNTunnel", dispatch_get_main_queue(), ^(NSError*) {
        [self become:NEVPNStatusDisconnecting];
        dispatch_async(dispatch_get_main_queue(), ^{
            [self become:NEVPNStatusDisconnected];
        });
    });
}

@end

@interface NEVPNManager ()
@property(strong) StageConfiguration* configuration;
@property(readwrite, strong) NEVPNConnection* connection;
@end

@implementation NEVPNManager

- (instancetype)init {
    if ((self = [super init]))
        self.connection = [[NEVPNConnection alloc] init];
    return self;
}

- (instancetype)initWithConfiguration:(StageConfiguration*)configuration {
    if ((self = [super init])) {
        self.configuration = configuration;
        self.connection = configuration.connection;
        [self read];
    }
    return self;
}

/// Discards unsaved changes.
- (void)read {
    self.protocolConfiguration = [self.configuration.protocol copy];
    self.localizedDescription = self.configuration.name;
    self.enabled = self.configuration.enabled;
}

- (void)loadFromPreferencesWithCompletionHandler:(void (^)(NSError*))completionHandler {
    answerLater(@"loadFromPreferences", dispatch_get_main_queue(), ^(NSError* error) {
        if (error == nil)
            [self read];
        completionHandler(error);
    });
}

- (void)saveToPreferencesWithCompletionHandler:(void (^)(NSError*))completionHandler {
    answerLater(@"saveToPreferences", dispatch_get_main_queue(), ^(NSError* failure) {
        NSError* error = failure;
        if (self.protocolConfiguration == nil)
            error = vpnError(NEVPNErrorConfigurationInvalid);
        if (error == nil)
            [self write];
        completionHandler(error);
        if (error == nil)
            post(NEVPNConfigurationChangeNotification, self);
    });
}

- (void)write {
    if (self.configuration == nil)
        self.configuration = [[StageConfiguration alloc] init];
    self.configuration.protocol = self.protocolConfiguration;
    self.configuration.name = self.localizedDescription;
    self.configuration.enabled = self.enabled;
    self.configuration.connection = self.connection;
    self.connection.configuration = self.configuration;
    if ([savedConfigurations() containsObject:self.configuration])
        return;
    [savedConfigurations() addObject:self.configuration];
    [self.connection become:NEVPNStatusDisconnected];
}

- (void)removeFromPreferencesWithCompletionHandler:(void (^)(NSError*))completionHandler {
    answerLater(@"removeFromPreferences", dispatch_get_main_queue(), ^(NSError* error) {
        if (error == nil) {
            [savedConfigurations() removeObject:self.configuration];
            [self.connection become:NEVPNStatusInvalid];
        }
        completionHandler(error);
        if (error == nil)
            post(NEVPNConfigurationChangeNotification, self);
    });
}

@end

@implementation NETunnelProviderManager

+ (void)loadAllFromPreferencesWithCompletionHandler:(void (^)(NSArray<NETunnelProviderManager*>*,
                                                              NSError*))completionHandler {
    answerLater(@"loadAllFromPreferences", dispatch_get_main_queue(), ^(NSError* error) {
        if (error != nil) {
            completionHandler(nil, error);
            return;
        }
        NSMutableArray<NETunnelProviderManager*>* const managers = [NSMutableArray array];
        for (StageConfiguration* each in savedConfigurations())
            [managers addObject:[[NETunnelProviderManager alloc] initWithConfiguration:each]];
        completionHandler(managers, nil);
    });
}

@end
