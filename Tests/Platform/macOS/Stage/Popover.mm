#import <AppKit/AppKit.h>

#import "Tests/Platform/macOS/Stage/Properties.h"

using quoxelin::stage::associate;
using quoxelin::stage::associated;

static const char windowKey = 0, sizeKey = 0, controllerKey = 0;

/// A popover is a borderless window beside its view.
@interface StagePopoverWindow : NSPanel
@end

@implementation StagePopoverWindow

- (BOOL)canBecomeKeyWindow {
    return YES;
}

@end

static NSWindow* makeWindow() {
    NSWindow* const window =
        [[StagePopoverWindow alloc] initWithContentRect:NSMakeRect(0, 0, 10, 10)
                                              styleMask:NSWindowStyleMaskBorderless
                                                backing:NSBackingStoreBuffered
                                                  defer:YES];
    window.releasedWhenClosed = NO;
    window.level = NSPopUpMenuWindowLevel;
    window.backgroundColor = NSColor.whiteColor;
    return window;
}

/// The origin of a window of that size at the given edge.
static NSPoint placeAt(NSRectEdge edge, NSRect beside, NSSize size) {
    switch (edge) {
    case NSMinXEdge:
        return NSMakePoint(NSMinX(beside) - size.width, NSMidY(beside) - size.height / 2);
    case NSMaxXEdge:
        return NSMakePoint(NSMaxX(beside), NSMidY(beside) - size.height / 2);
    case NSMinYEdge:
        return NSMakePoint(NSMidX(beside) - size.width / 2, NSMinY(beside) - size.height);
    case NSMaxYEdge:
        return NSMakePoint(NSMidX(beside) - size.width / 2, NSMaxY(beside));
    }
    return beside.origin;
}

static NSHashTable<NSPopover*>* shownPopovers() {
    static NSHashTable* const all = [NSHashTable weakObjectsHashTable];
    return all;
}

@implementation NSApplication (StagePopover)

+ (void)load {
    quoxelin::stage::exchange(self, @selector(sendEvent:), @selector(stage_sendEvent:));
}

/// A press outside of a transient popover closes it and then goes to the view under it.
- (void)stage_sendEvent:(NSEvent*)event {
    if (event.type == NSEventTypeLeftMouseDown)
        for (NSPopover* each in shownPopovers().allObjects)
            if (each.behavior == NSPopoverBehaviorTransient &&
                associated(each, &windowKey) != event.window)
                [each close];
    [self stage_sendEvent:event];
}

@end

@implementation NSPopover (Stage)

// GNUstep's popover never releases its controller.

- (NSViewController*)contentViewController {
    return associated(self, &controllerKey);
}

- (void)setContentViewController:(NSViewController*)controller {
    associate(self, &controllerKey, controller);
}

- (NSSize)contentSize {
    return [associated(self, &sizeKey) sizeValue];
}

- (void)setContentSize:(NSSize)size {
    associate(self, &sizeKey, [NSValue valueWithSize:size]);
    NSWindow* const window = associated(self, &windowKey);
    if (!window.visible)
        return;
    const NSRect frame = window.frame;
    [window
        setFrame:NSMakeRect(frame.origin.x, NSMaxY(frame) - size.height, size.width, size.height)
         display:YES];
}

- (BOOL)isShown {
    return [associated(self, &windowKey) isVisible];
}

- (void)close {
    NSWindow* const window = associated(self, &windowKey);
    if (!window.visible)
        return;
    NSNotification* const notification =
        [NSNotification notificationWithName:NSPopoverWillCloseNotification object:self];
    if ([self.delegate respondsToSelector:@selector(popoverWillClose:)])
        [self.delegate popoverWillClose:notification];
    [window orderOut:nil];
}

- (void)performClose:(id)sender {
    [self close];
}

- (void)showRelativeToRect:(NSRect)rect
                    ofView:(NSView*)view
             preferredEdge:(NSRectEdge)preferredEdge {
    if (view.window == nil)
        [NSException raise:NSInvalidArgumentException format:@"the view is in no window"];
    NSWindow* window = associated(self, &windowKey);
    if (window == nil) {
        window = makeWindow();
        associate(self, &windowKey, window);
    }
    if (window.contentView != self.contentViewController.view)
        window.contentView = self.contentViewController.view;
    const NSSize size = self.contentSize;
    const NSRect beside = [view.window convertRectToScreen:[view convertRect:rect toView:nil]];
    const NSPoint place = placeAt(preferredEdge, beside, size);
    [window setFrame:NSMakeRect(place.x, place.y, size.width, size.height) display:NO];
    [window orderFront:nil];
    [shownPopovers() addObject:self];
}

@end
