#import <UserNotifications/UserNotifications.h>

#import "Tests/Platform/macOS/Stage/Stage.h"
#import "Tests/Platform/macOS/Stage/StageServices.h"
#include <mutex>

using quoxelin::stage::answerLater;

namespace quoxelin::stage {

NotificationState notifications() {
    NotificationState copy;
    changeNotifications([&copy](NotificationState& state) { copy = state; });
    return copy;
}

void changeNotifications(const std::function<void(NotificationState&)>& change) {
    static std::mutex lock;
    // Never destroyed, because the framework's queue runs until the program ends.
    static auto* const state = [] {
        onReset(^{
            changeNotifications([](NotificationState& all) { all = NotificationState(); });
        });
        return new NotificationState();
    }();
    const std::lock_guard guard(lock);
    change(*state);
}

} // namespace quoxelin::stage

using quoxelin::stage::changeNotifications;
using quoxelin::stage::notifications;
using quoxelin::stage::NotificationState;

@implementation UNNotificationSound

+ (UNNotificationSound*)defaultSound {
    static UNNotificationSound* const one = [[self alloc] init];
    return one;
}

- (id)copyWithZone:(NSZone*)zone {
    return self;
}

@end

@interface UNNotificationContent ()
@property(copy) NSString* title;
@property(copy) NSString* body;
@property(copy) UNNotificationSound* sound;
@end

@implementation UNNotificationContent

- (id)copyWithZone:(NSZone*)zone {
    UNNotificationContent* const copy = [[UNNotificationContent alloc] init];
    copy.title = self.title;
    copy.body = self.body;
    copy.sound = self.sound;
    return copy;
}

@end

@implementation UNMutableNotificationContent
@dynamic title, body, sound;
@end

@interface UNNotificationRequest ()
@property(copy) NSString* identifier;
@property(copy) UNNotificationContent* content;
@end

@implementation UNNotificationRequest

+ (instancetype)requestWithIdentifier:(NSString*)identifier
                              content:(UNNotificationContent*)content
                              trigger:(id)trigger {
    UNNotificationRequest* const made = [[self alloc] init];
    made.identifier = identifier;
    made.content = content;
    return made;
}

- (id)copyWithZone:(NSZone*)zone {
    return self;
}

@end

@interface UNNotification ()
@property(copy) UNNotificationRequest* request;
@end

@implementation UNNotification
@end

@interface UNNotificationSettings ()
@property UNAuthorizationStatus authorizationStatus;
@end

@implementation UNNotificationSettings
@end

/// The framework answers on this queue.
static dispatch_queue_t frameworkQueue() {
    static const dispatch_queue_t queue = dispatch_queue_create("notifications", nullptr);
    return queue;
}

@implementation UNUserNotificationCenter

+ (UNUserNotificationCenter*)currentNotificationCenter {
    quoxelin::stage::outcomeOf(@"currentNotificationCenter");
    static UNUserNotificationCenter* const one = [[self alloc] init];
    return one;
}

- (void)getNotificationSettingsWithCompletionHandler:
    (void (^)(UNNotificationSettings*))completionHandler {
    answerLater(@"getNotificationSettings", frameworkQueue(), ^(NSError*) {
        UNNotificationSettings* const settings = [[UNNotificationSettings alloc] init];
        settings.authorizationStatus = notifications().authorization;
        completionHandler(settings);
    });
}

- (void)requestAuthorizationWithOptions:(UNAuthorizationOptions)options
                      completionHandler:(void (^)(BOOL, NSError*))completionHandler {
    answerLater(@"requestAuthorization", frameworkQueue(), ^(NSError* error) {
        if (error == nil)
            changeNotifications([](NotificationState& state) {
                if (state.authorization == UNAuthorizationStatusNotDetermined)
                    state.authorization = UNAuthorizationStatusAuthorized;
            });
        completionHandler(notifications().authorization >= UNAuthorizationStatusAuthorized, error);
    });
}

- (void)addNotificationRequest:(UNNotificationRequest*)request
         withCompletionHandler:(void (^)(NSError*))completionHandler {
    answerLater(@"addNotificationRequest", frameworkQueue(), ^(NSError* error) {
        if (error == nil)
            [self present:request];
        if (completionHandler != nil)
            completionHandler(error);
    });
}

- (void)present:(UNNotificationRequest*)request {
    if (notifications().authorization < UNAuthorizationStatusAuthorized)
        return;
    changeNotifications([request](NotificationState& state) {
        state.added = [state.added arrayByAddingObject:request];
    });
    UNNotification* const notification = [[UNNotification alloc] init];
    notification.request = request;
    [self.delegate userNotificationCenter:self
                  willPresentNotification:notification
                    withCompletionHandler:^(UNNotificationPresentationOptions options) {
                        changeNotifications([options](NotificationState& state) {
                            state.presented = [state.presented arrayByAddingObject:@(options)];
                        });
                    }];
}

@end
