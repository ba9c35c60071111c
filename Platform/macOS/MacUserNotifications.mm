#include "Platform/macOS/MacUserNotifications.h"

#include "Platform/macOS/ObjC.h"

#import <UserNotifications/UserNotifications.h>

using NotificationDelegate = std::weak_ptr<quoxelin::UNUserNotificationCenterDelegate>;

/// Forwards the center's calls to the application's delegate while that exists.
@interface QXNotificationDelegate : NSObject <UNUserNotificationCenterDelegate>
- (instancetype)initWithDelegate:(NotificationDelegate)delegate;
@end

@implementation QXNotificationDelegate {
    NotificationDelegate delegate;
}

- (instancetype)initWithDelegate:(NotificationDelegate)newDelegate {
    if ((self = [super init]))
        delegate = std::move(newDelegate);
    return self;
}

- (void)userNotificationCenter:(UNUserNotificationCenter*)center
       willPresentNotification:(UNNotification*)notification
         withCompletionHandler:(void (^)(UNNotificationPresentationOptions))completionHandler {
    UNNotificationRequest* const request = notification.request;
    const quoxelin::UNNotificationRequest record{
        quoxelin::toString(request.identifier), quoxelin::toString(request.content.title),
        quoxelin::toString(request.content.body), request.content.sound != nil};
    dispatch_async(dispatch_get_main_queue(), ^{
        const auto present = ^(unsigned options) {
            completionHandler(options);
        };
        if (const auto asked = self->delegate.lock())
            asked->willPresent(record, present);
        else
            present(UNNotificationPresentationOptionNone);
    });
}

@end

namespace quoxelin {

namespace {

static_assert(UNAuthorizationOptionBadge == ::UNAuthorizationOptionBadge);
static_assert(UNAuthorizationOptionSound == ::UNAuthorizationOptionSound);
static_assert(UNAuthorizationOptionAlert == ::UNAuthorizationOptionAlert);
static_assert(UNNotificationPresentationOptionSound == ::UNNotificationPresentationOptionSound);
static_assert(UNNotificationPresentationOptionBanner == ::UNNotificationPresentationOptionBanner);
static_assert(static_cast<int>(UNAuthorizationStatus::authorized) ==
              UNAuthorizationStatusAuthorized);
static_assert(static_cast<int>(UNAuthorizationStatus::provisional) ==
              UNAuthorizationStatusProvisional);

/// The framework throws if the program runs outside of a bundle.
template <typename Call> Result<void, Error> withCenter(Call call) {
    return withoutExceptions([&] { call([::UNUserNotificationCenter currentNotificationCenter]); });
}

} // namespace

/// Static, because the center is a singleton and references its delegate weakly.
void MacUserNotificationCenter::setDelegate(
    std::weak_ptr<UNUserNotificationCenterDelegate> delegate) {
    static QXNotificationDelegate* current = nil;
    current = [[QXNotificationDelegate alloc] initWithDelegate:std::move(delegate)];
    withCenter([](::UNUserNotificationCenter* center) { center.delegate = current; });
}

void MacUserNotificationCenter::getNotificationSettings(
    std::function<void(UNNotificationSettings)> completion) {
    const auto answered = ^(::UNNotificationSettings* settings) {
        completion({static_cast<int>(settings.authorizationStatus)});
    };
    const auto called = withCenter([&](::UNUserNotificationCenter* center) {
        [center getNotificationSettingsWithCompletionHandler:answered];
    });
    if (!called)
        completion({static_cast<int>(UNAuthorizationStatus::denied)});
}

void MacUserNotificationCenter::requestAuthorization(
    unsigned options, std::function<void(bool granted, std::optional<Error>)> completion) {
    const auto answered = ^(BOOL granted, NSError* error) {
        completion(granted, toOptionalError(error));
    };
    const auto called = withCenter([&](::UNUserNotificationCenter* center) {
        [center requestAuthorizationWithOptions:options completionHandler:answered];
    });
    if (!called)
        completion(false, called.error());
}

void MacUserNotificationCenter::add(const UNNotificationRequest& request) {
    UNMutableNotificationContent* const content = [[UNMutableNotificationContent alloc] init];
    content.title = toNSString(request.title);
    content.body = toNSString(request.body);
    if (request.defaultSound)
        content.sound = [UNNotificationSound defaultSound];
    ::UNNotificationRequest* const added =
        [::UNNotificationRequest requestWithIdentifier:toNSString(request.identifier)
                                               content:content
                                               trigger:nil];
    withCenter([&](::UNUserNotificationCenter* center) {
        [center addNotificationRequest:added withCompletionHandler:nil];
    });
}

} // namespace quoxelin
