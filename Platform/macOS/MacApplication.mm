#include "Platform/macOS/MacApplication.h"

#include "Base/NotificationCenter.h"
#include "Platform/macOS/FrameworkNotifications.h"
#include "Platform/macOS/MainRunLoop.h"
#include "Platform/macOS/ObjC.h"
#include "Platform/macOS/QXActionTarget.h"

#import <AppKit/AppKit.h>

/// Every way to quit (the menu, the Dock, another program, logging out) calls `terminate:`. The
/// framework's implementation exits the process. This one ends the main loop, so the code after the
/// loop still runs.
@interface QXApplication : NSApplication
- (void)handleQuitEvent:(NSAppleEventDescriptor*)event
         withReplyEvent:(NSAppleEventDescriptor*)reply;
@end

@implementation QXApplication

- (void)terminate:(id)sender {
    // This ends the modal loop of the topmost dialog, and the last time the main loop.
    if (self.modalWindow != nil)
        quoxelin::onMainRunLoop([] { [NSApp terminate:nil]; });
    [self stop:sender];
    // The loop checks whether to stop only after an event.
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

/// Reports success. The framework's handler would treat a `terminate:` that returns as a refusal
/// and cancel the logout.
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

/// Closing the panel must not quit the application.
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
        item.representedObject = target; // keeps it alive
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
    // Later: launching installs the framework's handlers.
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
    // The application references its delegate weakly.
    NS_VALID_UNTIL_END_OF_SCOPE QXApplicationDelegate* const adapter =
        [[QXApplicationDelegate alloc] initWithDelegate:delegate];
    NSApp.delegate = adapter;
    [NSApp run];
    NSApp.delegate = nil;
    delegate.applicationWillTerminate();
    return 0;
}

void MacApplication::terminate() {
    onMainRunLoop([] { [NSApp terminate:nil]; });
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
