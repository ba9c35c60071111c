#pragma once

#import <Foundation/Foundation.h>

typedef NS_ENUM(NSInteger, NEVPNStatus) {
    NEVPNStatusInvalid,
    NEVPNStatusDisconnected,
    NEVPNStatusConnecting,
    NEVPNStatusConnected,
    NEVPNStatusReasserting,
    NEVPNStatusDisconnecting,
};
typedef NS_ENUM(NSInteger, NEVPNError) {
    NEVPNErrorConfigurationInvalid = 1,
    NEVPNErrorConfigurationDisabled,
    NEVPNErrorConnectionFailed,
    NEVPNErrorConfigurationStale,
    NEVPNErrorConfigurationReadWriteFailed,
    NEVPNErrorConfigurationUnknown,
};
extern NSString* const NEVPNErrorDomain;
extern NSString* const NEVPNStatusDidChangeNotification;
extern NSString* const NEVPNConfigurationChangeNotification;

@interface NEVPNProtocol : NSObject <NSCopying>
@property(copy) NSString* serverAddress;
@property BOOL disconnectOnSleep;
@end

@interface NETunnelProviderProtocol : NEVPNProtocol
@property(copy) NSString* providerBundleIdentifier;
@end

@interface NEVPNConnection : NSObject
@property(readonly) NEVPNStatus status;
- (BOOL)startVPNTunnelWithOptions:(NSDictionary<NSString*, NSObject*>*)options
                   andReturnError:(NSError**)error;
- (BOOL)startVPNTunnelAndReturnError:(NSError**)error;
- (void)stopVPNTunnel;
- (void)fetchLastDisconnectErrorWithCompletionHandler:(void (^)(NSError* error))handler;
@end

@interface NEVPNManager : NSObject
@property(strong) NEVPNProtocol* protocolConfiguration;
@property(copy) NSString* localizedDescription;
@property(getter=isEnabled) BOOL enabled;
@property(readonly) NEVPNConnection* connection;
- (void)loadFromPreferencesWithCompletionHandler:(void (^)(NSError* error))completionHandler;
- (void)saveToPreferencesWithCompletionHandler:(void (^)(NSError* error))completionHandler;
- (void)removeFromPreferencesWithCompletionHandler:(void (^)(NSError* error))completionHandler;
@end

@interface NETunnelProviderManager : NEVPNManager
+ (void)loadAllFromPreferencesWithCompletionHandler:
    (void (^)(NSArray<NETunnelProviderManager*>* managers, NSError* error))completionHandler;
@end
