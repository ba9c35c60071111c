#include "Platform/macOS/MacApplication.h"

#include "Base/NotificationCenter.h"
#include "Platform/macOS/FrameworkNotifications.h"
#include "Platform/macOS/ObjC.h"
#include "Platform/macOS/QXActionTarget.h"

#import <AppKit/AppKit.h>

/// Every way to quit (the menu, the Dock, another program, the end of the session) comes through
/// `terminate:`. Where the framework's own would end the process there and then, this one ends the
/// main loop, so that what follows it in the program still happens.
@interface QXApplication : NSApplication
- (void)handleQuitEvent:(NSAppleEventDescriptor*)event
         withReplyEvent:(NSAppleEventDescriptor*)reply;
@end

@implementation QXApplication

- (void)terminate:(id)sender {
    // A dialogue's own loop ends first, and then the one around it.
    if (self.modalWindow != nil)
        dispatch_async(dispatch_get_main_queue(), ^{
            [self terminate:sender];
        });
    [self stop:sender];
    // The loop looks after an event whether it is to end.
    [self postEvent:[NSEvent otherEventWithType:NSEventTypeApplicationDefined
                                       location:NSZeroPoint
                                  modifierFlags:0
                                      timestamp:0
                                   windowNumber:0
                                        context:nil
                                        subtype:0
                                          data1:0
                                          data2:0]
            atStart:YES];
}

/// Answered with success. The framework's own handler takes a `terminate:` that returns for a
/// refusal, and the end of the session would be called off.
- (void)handleQuitEvent:(NSAppleEventDescriptor*)event
         withReplyEvent:(NSAppleEventDescriptor*)reply {
    [self terminate:nil];
}

@end

@interface QXApplicationDelegate : NSObject <NSApplicationDelegate>
- (instancetype)initWithDelegate:(quoxelin::NSApplicationDelegate&)delegate;
@end

@implementation QXApplicationDelegate {
    quoxelin::NSApplicationDelegate* delegate;
}

- (instancetype)initWithDelegate:(quoxelin::NSApplicationDelegate&)newDelegate {
    if ((self = [super init]))
        delegate = &newDelegate;
    return self;
}

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
    delegate->applicationDidFinishLaunching();
}

/// The panel is a window that comes and goes.
- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication*)sender {
    return NO;
}

@end

namespace quoxelin {

namespace {

static_assert(NSEventModifierFlagOption == ::NSEventModifierFlagOption);
static_assert(NSEventModifierFlagCommand == ::NSEventModifierFlagCommand);

::NSMenuItem* frameworkItem(const NSMenuItem& record) {
    if (record.title.empty())
        return [::NSMenuItem separatorItem];
    ::NSMenuItem* const item =
        [[::NSMenuItem alloc] initWithTitle:toNSString(record.title)
                                     action:NSSelectorFromString(toNSString(record.action))
                              keyEquivalent:toNSString(record.keyEquivalent)];
    item.keyEquivalentModifierMask = record.keyEquivalentModifierMask;
    if (record.target) {
        QXActionTarget* const target = [[QXActionTarget alloc] initWithFunction:record.target];
        [target setIsEnabled:record.isEnabled];
        item.action = QXActionTarget.action;
        item.target = target;
        item.representedObject = target; // which the item keeps
    }
    return item;
}

} // namespace

MacApplication::MacApplication(NotificationCenter& notificationCenter)
    : notifications(std::make_unique<FrameworkNotifications>()) {
    [[QXApplication sharedApplication] setActivationPolicy:NSApplicationActivationPolicyAccessory];
    notifications->observe(::NSApplicationDidBecomeActiveNotification, [&notificationCenter] {
        notificationCenter.post(NSApplicationDidBecomeActiveNotification);
    });
    // Launching installs the framework's own handlers.
    notifications->observe(NSApplicationWillFinishLaunchingNotification, [] {
        [[::NSAppleEventManager sharedAppleEventManager] setEventHandler:NSApp
                                                             andSelector:@selector(handleQuitEvent:
                                                                                    withReplyEvent:)
                                                           forEventClass:kCoreEventClass
                                                              andEventID:kAEQuitApplication];
    });
}

MacApplication::~MacApplication() = default;

int MacApplication::run(NSApplicationDelegate& delegate) {
    // The application refers to it weakly.
    NS_VALID_UNTIL_END_OF_SCOPE QXApplicationDelegate* const adapter =
        [[QXApplicationDelegate alloc] initWithDelegate:delegate];
    NSApp.delegate = adapter;
    [NSApp run];
    NSApp.delegate = nil;
    delegate.applicationWillTerminate();
    return 0;
}

void MacApplication::terminate() {
    dispatch_async(dispatch_get_main_queue(), ^{
        [NSApp terminate:nil];
    });
}

void MacApplication::activateIgnoringOtherApps() {
    [NSApp activateIgnoringOtherApps:YES];
}

void MacApplication::setMainMenu(const std::vector<NSMenuItem>& submenu) {
    NSMenu* const menu = [[NSMenu alloc] init];
    for (const auto& record : submenu)
        [menu addItem:frameworkItem(record)];
    ::NSMenuItem* const top = [[::NSMenuItem alloc] init];
    top.submenu = menu;
    NSMenu* const bar = [[NSMenu alloc] init];
    [bar addItem:top];
    NSApp.mainMenu = bar;
}

} // namespace quoxelin
