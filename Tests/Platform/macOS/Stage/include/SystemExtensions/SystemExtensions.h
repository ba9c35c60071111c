#pragma once

#import <Foundation/Foundation.h>

extern NSString* const OSSystemExtensionErrorDomain;
typedef NS_ENUM(NSInteger, OSSystemExtensionErrorCode) {
    OSSystemExtensionErrorUnknown = 1,
    OSSystemExtensionErrorExtensionNotFound = 4,
    OSSystemExtensionErrorRequestCanceled = 11,
    OSSystemExtensionErrorRequestSuperseded = 12,
    OSSystemExtensionErrorAuthorizationRequired = 13,
};
typedef NS_ENUM(NSInteger, OSSystemExtensionReplacementAction) {
    OSSystemExtensionReplacementActionCancel,
    OSSystemExtensionReplacementActionReplace,
};
typedef NS_ENUM(NSInteger, OSSystemExtensionRequestResult) {
    OSSystemExtensionRequestCompleted,
    OSSystemExtensionRequestWillCompleteAfterReboot,
};

@class OSSystemExtensionRequest;

@interface OSSystemExtensionProperties : NSObject
@property(readonly, copy) NSString* bundleIdentifier;
@property(readonly, copy) NSString* bundleShortVersion;
@property(readonly) BOOL isEnabled;
@property(readonly) BOOL isAwaitingUserApproval;
@end

@protocol OSSystemExtensionRequestDelegate <NSObject>
- (OSSystemExtensionReplacementAction)request:(OSSystemExtensionRequest*)request
                  actionForReplacingExtension:(OSSystemExtensionProperties*)existing
                                withExtension:(OSSystemExtensionProperties*)extension;
- (void)requestNeedsUserApproval:(OSSystemExtensionRequest*)request;
- (void)request:(OSSystemExtensionRequest*)request
    didFinishWithResult:(OSSystemExtensionRequestResult)result;
- (void)request:(OSSystemExtensionRequest*)request didFailWithError:(NSError*)error;
@optional
- (void)request:(OSSystemExtensionRequest*)request
    foundProperties:(NSArray<OSSystemExtensionProperties*>*)properties;
@end

@interface OSSystemExtensionRequest : NSObject
+ (instancetype)activationRequestForExtension:(NSString*)identifier queue:(dispatch_queue_t)queue;
+ (instancetype)propertiesRequestForExtension:(NSString*)identifier queue:(dispatch_queue_t)queue;
@property(weak) id<OSSystemExtensionRequestDelegate> delegate;
@property(readonly, copy) NSString* identifier;
@end

@interface OSSystemExtensionManager : NSObject
@property(class, readonly) OSSystemExtensionManager* sharedManager;
- (void)submitRequest:(OSSystemExtensionRequest*)request;
@end
