#pragma once

#import <Foundation/Foundation.h>

typedef NS_OPTIONS(NSUInteger, UNAuthorizationOptions) {
    UNAuthorizationOptionBadge = 1 << 0,
    UNAuthorizationOptionSound = 1 << 1,
    UNAuthorizationOptionAlert = 1 << 2,
};
typedef NS_OPTIONS(NSUInteger, UNNotificationPresentationOptions) {
    UNNotificationPresentationOptionNone = 0,
    UNNotificationPresentationOptionSound = 1 << 1,
    UNNotificationPresentationOptionBanner = 1 << 4,
};
typedef NS_ENUM(NSInteger, UNAuthorizationStatus) {
    UNAuthorizationStatusNotDetermined,
    UNAuthorizationStatusDenied,
    UNAuthorizationStatusAuthorized,
    UNAuthorizationStatusProvisional,
};

@class UNUserNotificationCenter;

@interface UNNotificationSound : NSObject
@property(class, readonly, copy) UNNotificationSound* defaultSound;
@end

@interface UNNotificationContent : NSObject
@property(readonly, copy) NSString* title;
@property(readonly, copy) NSString* body;
@property(readonly, copy) UNNotificationSound* sound;
@end

@interface UNMutableNotificationContent : UNNotificationContent
@property(copy) NSString* title;
@property(copy) NSString* body;
@property(copy) UNNotificationSound* sound;
@end

@interface UNNotificationRequest : NSObject
+ (instancetype)requestWithIdentifier:(NSString*)identifier
                              content:(UNNotificationContent*)content
                              trigger:(id)trigger;
@property(readonly, copy) NSString* identifier;
@property(readonly, copy) UNNotificationContent* content;
@end

@interface UNNotification : NSObject
@property(readonly, copy) UNNotificationRequest* request;
@end

@interface UNNotificationSettings : NSObject
@property(readonly) UNAuthorizationStatus authorizationStatus;
@end

@protocol UNUserNotificationCenterDelegate <NSObject>
@optional
- (void)userNotificationCenter:(UNUserNotificationCenter*)center
       willPresentNotification:(UNNotification*)notification
         withCompletionHandler:(void (^)(UNNotificationPresentationOptions options))handler;
@end

@interface UNUserNotificationCenter : NSObject
+ (UNUserNotificationCenter*)currentNotificationCenter;
@property(weak) id<UNUserNotificationCenterDelegate> delegate;
- (void)getNotificationSettingsWithCompletionHandler:
    (void (^)(UNNotificationSettings* settings))completionHandler;
- (void)requestAuthorizationWithOptions:(UNAuthorizationOptions)options
                      completionHandler:(void (^)(BOOL granted, NSError* error))completionHandler;
- (void)addNotificationRequest:(UNNotificationRequest*)request
         withCompletionHandler:(void (^)(NSError* error))completionHandler;
@end
