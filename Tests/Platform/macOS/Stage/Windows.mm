#import <AppKit/AppKit.h>

#import "Tests/Platform/macOS/Stage/Properties.h"
#include <cmath>

using quoxelin::stage::associate;
using quoxelin::stage::associated;

static const char parentKey = 0, handlerKey = 0, alertWindowKey = 0, alertTargetKey = 0;

@implementation NSWindow (Stage)
@dynamic visible, contentView, titleVisibility, titlebarAppearsTransparent;

+ (void)load {
    using namespace quoxelin::stage;
    keepInteger(self, @"titleVisibility");
    keepFlag(self, @"titlebarAppearsTransparent");
    exchange(self, @selector(displayIfNeeded), @selector(stage_displayIfNeeded));
    exchange(self, @selector(display), @selector(stage_display));
    exchange(self, @selector(orderWindow:relativeTo:), @selector(stage_orderWindow:relativeTo:));
}

- (void)stage_displayIfNeeded {
    [self.contentView layoutSubtreeIfNeeded];
    [self stage_displayIfNeeded];
}

- (void)stage_display {
    [self.contentView layoutSubtreeIfNeeded];
    [self stage_display];
}

- (void)stage_orderWindow:(NSWindowOrderingMode)place relativeTo:(NSInteger)other {
    [self.contentView layoutSubtreeIfNeeded];
    [self stage_orderWindow:place relativeTo:other];
}

// Replaces GNUstep's sheets, which run a modal loop inside beginSheet. The handler is called later,
// as AppKit's is once the sheet has moved away.

- (NSWindow*)sheetParent {
    return [associated(self, &parentKey) nonretainedObjectValue];
}

- (void)beginSheet:(NSWindow*)sheet completionHandler:(void (^)(NSModalResponse))handler {
    associate(sheet, &parentKey, [NSValue valueWithNonretainedObject:self]);
    associate(sheet, &handlerKey, [handler copy]);
    const NSRect parent = self.frame, own = sheet.frame;
    constexpr CGFloat below = 20;
    [sheet setFrameOrigin:NSMakePoint(NSMidX(parent) - own.size.width / 2,
                                      NSMaxY(parent) - own.size.height - below)];
    [sheet setLevel:self.level + 1];
    [sheet makeKeyAndOrderFront:nil];
}

- (void)endSheet:(NSWindow*)sheet returnCode:(NSModalResponse)code {
    if (sheet.sheetParent != self)
        return;
    void (^const handler)(NSModalResponse) = associated(sheet, &handlerKey);
    associate(sheet, &handlerKey, nil);
    associate(sheet, &parentKey, nil);
    [sheet orderOut:nil];
    if (handler != nil)
        dispatch_async(dispatch_get_main_queue(), ^{
            handler(code);
        });
}

- (void)endSheet:(NSWindow*)sheet {
    [self endSheet:sheet returnCode:NSModalResponseStop];
}

@end

@interface StageAlertTarget : NSObject
@property(weak) NSWindow* window;
@end

@implementation StageAlertTarget

- (void)press:(NSButton*)button {
    [self.window.sheetParent endSheet:self.window returnCode:button.tag];
}

@end

static NSTextField* paragraph(NSString* text, NSFont* font, CGFloat width) {
    NSTextField* const label =
        [[NSTextField alloc] initWithFrame:NSMakeRect(0, 0, width, font.pointSize)];
    label.editable = NO;
    label.selectable = NO;
    label.bordered = NO;
    label.drawsBackground = NO;
    label.font = font;
    label.alignment = NSTextAlignmentCenter;
    label.cell.wraps = YES;
    label.stringValue = text != nil ? text : @"";
    constexpr CGFloat anyHeight = 1e6;
    const NSSize size = [label.cell cellSizeForBounds:NSMakeRect(0, 0, width, anyHeight)];
    label.frame = NSMakeRect(0, 0, width, std::ceil(size.height));
    return label;
}

@implementation NSAlert (Stage)

- (NSWindow*)window {
    NSWindow* window = associated(self, &alertWindowKey);
    if (window != nil)
        return window;
    window = [[NSPanel alloc] initWithContentRect:NSMakeRect(0, 0, 240, 200)
                                        styleMask:NSWindowStyleMaskBorderless
                                          backing:NSBackingStoreBuffered
                                            defer:YES];
    window.releasedWhenClosed = NO;
    associate(self, &alertWindowKey, window);
    StageAlertTarget* const target = [[StageAlertTarget alloc] init];
    target.window = window;
    associate(self, &alertTargetKey, target);
    return window;
}

/// Stacks the texts and then the buttons.
- (NSView*)stageContent {
    constexpr CGFloat width = 240, edge = 16, space = 8, buttonHeight = 26;
    NSMutableArray<NSView*>* const parts = [NSMutableArray
        arrayWithObjects:paragraph(self.messageText, [NSFont boldSystemFontOfSize:13],
                                   width - 2 * edge),
                         paragraph(self.informativeText, [NSFont systemFontOfSize:11],
                                   width - 2 * edge),
                         nil];
    NSInteger tag = NSAlertFirstButtonReturn;
    for (NSButton* each in self.buttons) {
        each.frame = NSMakeRect(0, 0, width - 2 * edge, buttonHeight);
        each.tag = tag++;
        each.target = associated(self, &alertTargetKey);
        each.action = @selector(press:);
        [parts addObject:each];
    }
    CGFloat height = 2 * edge - space;
    for (NSView* each in parts)
        height += each.frame.size.height + space;
    NSView* const content = [[NSView alloc] initWithFrame:NSMakeRect(0, 0, width, height)];
    CGFloat y = height - edge;
    for (NSView* each in parts) {
        y -= each.frame.size.height;
        [each setFrameOrigin:NSMakePoint(edge, y)];
        [content addSubview:each];
        y -= space;
    }
    return content;
}

- (void)beginSheetModalForWindow:(NSWindow*)parent
               completionHandler:(void (^)(NSModalResponse))handler {
    NSWindow* const window = self.window;
    NSView* const content = [self stageContent];
    [window setContentSize:content.frame.size];
    window.contentView = content;
    [parent beginSheet:window completionHandler:handler];
}

@end
