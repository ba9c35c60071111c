#pragma once

#import <UserNotifications/UserNotifications.h>
#include <functional>
#include <unistd.h>

// The state of the stage's services, for tests to read and change.

namespace quoxelin::stage {

struct ExtensionState {
    /// Versions by bundle identifier.
    NSMutableDictionary<NSString*, NSString*>* installed = [NSMutableDictionary dictionary];
    /// The version of the extension in the application's bundle.
    NSString* bundledVersion = @"1.0.0";
    /// Whether the user has already allowed it.
    bool isApproved = false;
};
ExtensionState& extensions();

struct NotificationState {
    /// If not determined, the user grants it when asked.
    ::UNAuthorizationStatus authorization = ::UNAuthorizationStatusNotDetermined;
    NSArray<::UNNotificationRequest*>* added = @[];
    /// The delegate's presentation options for them.
    NSArray<NSNumber*>* presented = @[];
};
/// A copy, because the framework's queue changes it. Any thread.
NotificationState notifications();
void changeNotifications(const std::function<void(NotificationState&)>& change);

/// Raw values of SMAppService's status by property list; @"" is the application.
NSMutableDictionary<NSString*, NSNumber*>* serviceStatus();

/// The objects that receive messages, by Mach service.
NSMutableDictionary<NSString*, id>* machServices();
/// Simulates the exit of the service's process.
void endMachService(NSString* name);
/// The number of live connections.
NSUInteger countOfConnections();

/// A signature: the program's identifier and its team. Nil for an unsigned program.
using Signature = NSArray<NSString*>*;
struct SignatureState {
    /// This process's signature.
    Signature own = nil;
    /// The user whom services take for this process's.
    uid_t user = ::geteuid();
    /// The signatures of other programs and of bundles, by path.
    NSMutableDictionary<NSString*, Signature>* byPath = [NSMutableDictionary dictionary];
    /// The signature of the process behind a Mach service, if it is not this one.
    NSMutableDictionary<NSString*, Signature>* byService = [NSMutableDictionary dictionary];
    /// The signed Info.plist of bundles, by path.
    NSMutableDictionary<NSString*, NSDictionary*>* propertyLists = [NSMutableDictionary dictionary];
};
SignatureState& signatures();
/// Whether a signature satisfies a requirement for an identifier and a team.
bool satisfies(Signature signature, NSString* requirement);

struct UpdaterState {
    bool isStarted = false;
    int checks = 0;
};
UpdaterState& updates();

/// Simulates an event from another program. Returns false if it has no handler.
bool sendEvent(AEEventClass eventClass, AEEventID eventID, NSAppleEventDescriptor* event);
/// The same for an event that waits for this program: the first one that waits is delivered by
/// launching, between its two notifications, and the others by the main loop.
void postEvent(AEEventClass eventClass, AEEventID eventID, NSAppleEventDescriptor* event);

/// The source of every script that ran.
NSMutableArray<NSString*>* scripts();

} // namespace quoxelin::stage
