#import <AppKit/AppKit.h>

#import "Tests/Platform/macOS/Stage/Properties.h"
#import "Tests/Platform/macOS/Stage/StageAppKit.h"

using quoxelin::stage::associate;
using quoxelin::stage::associated;

@implementation NSApplication (Stage)
@dynamic activationPolicy;

+ (void)load {
    quoxelin::stage::keepInteger(self, @"activationPolicy");
}

@end

static NSMutableArray<NSArray*>* monitors() {
    static NSMutableArray* const all = [NSMutableArray array];
    return all;
}

@implementation NSEvent (Stage)

+ (id)addGlobalMonitorForEventsMatchingMask:(NSEventMask)mask handler:(void (^)(NSEvent*))handler {
    NSArray* const monitor = @[ @(mask), [handler copy] ];
    [monitors() addObject:monitor];
    return monitor;
}

+ (void)removeMonitor:(id)monitor {
    [monitors() removeObjectIdenticalTo:monitor];
}

@end

namespace quoxelin::stage {

void sendGlobalEvent(unsigned long long kind) {
    for (NSArray* each in monitors().copy)
        if (([each[0] unsignedLongLongValue] & kind) != 0) {
            void (^const handler)(NSEvent*) = each[1];
            handler(nil);
        }
}

} // namespace quoxelin::stage

static const char buttonKey = 0, windowKey = 0, itemsKey = 0;

@implementation NSStatusItem (Stage)

- (NSStatusBarButton*)button {
    return associated(self, &buttonKey);
}

/// Shows the button in a small window in the upper right corner.
- (void)stageShow:(CGFloat)length {
    constexpr CGFloat squareWidth = 24, height = 22;
    // The clock and the items of the system are there.
    constexpr CGFloat fromTheRight = 350;
    const NSRect screen = [[NSScreen mainScreen] frame];
    const CGFloat width = length > 0 ? length : squareWidth;
    NSWindow* const window =
        [[NSWindow alloc] initWithContentRect:NSMakeRect(NSMaxX(screen) - fromTheRight - width,
                                                         NSMaxY(screen) - height, width, height)
                                    styleMask:NSWindowStyleMaskBorderless
                                      backing:NSBackingStoreBuffered
                                        defer:NO];
    window.releasedWhenClosed = NO;
    window.level = NSStatusWindowLevel;
    window.hidesOnDeactivate = NO;
    window.canHide = NO;
    NSStatusBarButton* const button =
        [[NSStatusBarButton alloc] initWithFrame:NSMakeRect(0, 0, width, height)];
    [button setBordered:NO];
    [window.contentView addSubview:button];
    associate(self, &buttonKey, button);
    associate(self, &windowKey, window);
    [window orderFront:nil];
}

@end

@implementation NSStatusBarButton (Stage)

/// Does not call super: the cell would track the mouse in a run loop mode that blocks the main
/// queue.
- (void)mouseDown:(NSEvent*)event {
    [NSApp sendAction:self.action to:self.target from:self];
}

@end

@implementation NSStatusBar (Stage)

+ (NSStatusBar*)systemStatusBar {
    static NSStatusBar* const one = [[NSStatusBar alloc] init];
    return one;
}

- (NSStatusItem*)statusItemWithLength:(CGFloat)length {
    NSStatusItem* const item = [[NSStatusItem alloc] init];
    [item stageShow:length];
    NSMutableArray* items = associated(self, &itemsKey);
    if (items == nil)
        items = [NSMutableArray array];
    [items addObject:item];
    associate(self, &itemsKey, items);
    return item;
}

- (void)removeStatusItem:(NSStatusItem*)item {
    [associated(item, &windowKey) orderOut:nil];
    [associated(self, &itemsKey) removeObjectIdenticalTo:item];
}

@end

namespace quoxelin::stage {

::NSStatusBarButton* statusButton() {
    NSArray<NSStatusItem*>* const items = associated([NSStatusBar systemStatusBar], &itemsKey);
    return items.lastObject.button;
}

} // namespace quoxelin::stage

@implementation NSPasteboard (Stage)

- (NSInteger)clearContents {
    return [self declareTypes:@[] owner:nil];
}

@end

@implementation NSWorkspaceOpenConfiguration

+ (instancetype)configuration {
    return [[self alloc] init];
}

@end

namespace quoxelin::stage {

WorkspaceState& workspace() {
    static WorkspaceState state;
    return state;
}

} // namespace quoxelin::stage

using quoxelin::stage::workspace;

@implementation NSWorkspace (Stage)

- (BOOL)openURL:(NSURL*)url {
    [workspace().opened addObject:url];
    return YES;
}

- (NSURL*)URLForApplicationWithBundleIdentifier:(NSString*)identifier {
    return workspace().applications[identifier];
}

- (void)openApplicationAtURL:(NSURL*)url
               configuration:(NSWorkspaceOpenConfiguration*)configuration
           completionHandler:(void (^)(id, NSError*))completionHandler {
    [workspace().opened addObject:url];
    if (completionHandler != nil)
        dispatch_async(dispatch_get_global_queue(0, 0), ^{
            completionHandler(nil, nil);
        });
}

@end
