#pragma once

#import <UserNotifications/UserNotifications.h>

// What the services of the stage keep, for tests to look at and to change.

namespace quoxelin::stage {

struct ExtensionState {
    /// Versions, by bundle identifier.
    NSMutableDictionary<NSString*, NSString*>* installed = [NSMutableDictionary dictionary];
    /// Of the extension within the application.
    NSString* bundledVersion = @"1.0.0";
    /// Whether the user has allowed it before.
    bool isApproved = false;
};
ExtensionState& extensions();

struct NotificationState {
    /// The user grants what is not determined.
    ::UNAuthorizationStatus authorization = ::UNAuthorizationStatusNotDetermined;
    NSMutableArray<::UNNotificationRequest*>* added = [NSMutableArray array];
    /// How those were to be presented, by the delegate's answer.
    NSMutableArray<NSNumber*>* presented = [NSMutableArray array];
};
NotificationState& notifications();

/// Raw values of SMAppService's status, by property list; the application itself is @"".
NSMutableDictionary<NSString*, NSNumber*>* serviceStatus();

/// Objects that answer messages, by Mach service.
NSMutableDictionary<NSString*, id>* machServices();
/// The process behind a Mach service ends.
void endMachService(NSString* name);
/// Connections that are there.
NSUInteger countOfConnections();

struct UpdaterState {
    bool isStarted = false;
    int checks = 0;
};
UpdaterState& updates();

/// Another program sends an event; false when no handler is set for it.
bool sendEvent(AEEventClass eventClass, AEEventID eventID, NSAppleEventDescriptor* event);

/// The sources that were run.
NSMutableArray<NSString*>* scripts();

} // namespace quoxelin::stage
