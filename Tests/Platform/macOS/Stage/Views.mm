#import <AppKit/AppKit.h>

#import "Tests/Platform/macOS/Stage/Properties.h"
#import <objc/runtime.h>

using quoxelin::stage::associate;
using quoxelin::stage::associated;

/// Implements a tracking area as a tracking rectangle, which must be renewed when its view changes.
@interface StageTracking : NSObject
@property(strong) NSTrackingArea* area;
@property NSTrackingRectTag tag;
@property NSRect rect;
@property BOOL isSet;
@end

@implementation StageTracking
@end

static const char trackingsKey = 0;

static NSMutableArray<StageTracking*>* trackingsOf(NSView* view) {
    NSMutableArray* all = associated(view, &trackingsKey);
    if (all == nil) {
        all = [NSMutableArray array];
        associate(view, &trackingsKey, all);
    }
    return all;
}

@implementation NSView (Stage)
@dynamic hidden, hiddenOrHasHiddenAncestor, layer, needsLayout;
@dynamic accessibilityElement, accessibilityEnabled, accessibilityRole, accessibilityLabel;
@dynamic accessibilityHelp, accessibilityExpanded;

+ (void)load {
    using namespace quoxelin::stage;
    keepObject(self, @"layer");
    keepObject(self, @"accessibilityRole");
    keepObject(self, @"accessibilityLabel");
    keepObject(self, @"accessibilityHelp");
    keepFlag(self, @"accessibilityExpanded", @"isAccessibilityExpanded");
    keepFlag(self, @"accessibilityElement", @"isAccessibilityElement");
    keepFlag(self, @"accessibilityEnabled", @"isAccessibilityEnabled");
    exchange(self, @selector(setNeedsLayout:), @selector(stage_setNeedsLayout:));
    exchange(self, @selector(setFrameSize:), @selector(stage_setFrameSize:));
    exchange(self, @selector(setFrame:), @selector(stage_setFrame:));
}

- (BOOL)wantsLayer {
    return self.layer != nil;
}

- (void)setWantsLayer:(BOOL)wants {
    if (wants != self.wantsLayer)
        self.layer = wants ? [[CALayer alloc] init] : nil;
}

- (void)invalidateIntrinsicContentSize {
    self.superview.needsLayout = YES;
}

- (NSEdgeInsets)alignmentRectInsets {
    return {};
}

- (NSRect)alignmentRectForFrame:(NSRect)frame {
    const auto insets = self.alignmentRectInsets;
    return NSMakeRect(frame.origin.x + insets.left, frame.origin.y + insets.bottom,
                      frame.size.width - insets.left - insets.right,
                      frame.size.height - insets.top - insets.bottom);
}

- (NSRect)frameForAlignmentRect:(NSRect)alignmentRect {
    const auto insets = self.alignmentRectInsets;
    return NSMakeRect(alignmentRect.origin.x - insets.left, alignmentRect.origin.y - insets.bottom,
                      alignmentRect.size.width + insets.left + insets.right,
                      alignmentRect.size.height + insets.top + insets.bottom);
}

- (void)addTrackingArea:(NSTrackingArea*)area {
    StageTracking* const tracking = [[StageTracking alloc] init];
    tracking.area = area;
    [trackingsOf(self) addObject:tracking];
    [self stageTrack];
}

- (void)removeTrackingArea:(NSTrackingArea*)area {
    for (StageTracking* each in trackingsOf(self).copy)
        if (each.area == area) {
            if (each.isSet)
                [self removeTrackingRect:each.tag];
            [trackingsOf(self) removeObject:each];
        }
}

- (NSArray<NSTrackingArea*>*)trackingAreas {
    return [trackingsOf(self) valueForKey:@"area"];
}

- (void)stageTrack {
    for (StageTracking* each in associated(self, &trackingsKey)) {
        const BOOL isWhole = (each.area.options & NSTrackingInVisibleRect) != 0;
        const NSRect rect = isWhole ? self.bounds : each.area.rect;
        if (each.isSet && NSEqualRects(rect, each.rect))
            continue;
        if (each.isSet)
            [self removeTrackingRect:each.tag];
        each.isSet = self.window != nil;
        each.rect = rect;
        if (each.isSet)
            each.tag = [self addTrackingRect:rect
                                       owner:each.area.owner
                                    userData:nullptr
                                assumeInside:NO];
    }
}

// GNUstep never calls -layout and does not request a layout when a frame changes.

- (void)stage_setNeedsLayout:(BOOL)needs {
    [self stage_setNeedsLayout:needs];
    if (needs)
        [self setNeedsDisplay:YES];
}

- (void)stage_setFrameSize:(NSSize)size {
    const NSSize old = self.frame.size;
    [self stage_setFrameSize:size];
    if (!NSEqualSizes(old, size))
        self.needsLayout = YES;
}

- (void)stage_setFrame:(NSRect)frame {
    const NSSize old = self.frame.size;
    [self stage_setFrame:frame];
    if (!NSEqualSizes(old, frame.size))
        self.needsLayout = YES;
}

- (void)layoutSubtreeIfNeeded {
    constexpr int turns = 3;
    for (int turn = 0; turn < turns && self.needsLayout; ++turn)
        [self layout];
    [self stageTrack];
    for (NSView* each in self.subviews.copy)
        [each layoutSubtreeIfNeeded];
}

@end

@implementation NSLayoutConstraint (Stage)

/// Supports only constraints that pin a view's edges to its superview.
+ (void)activateConstraints:(NSArray<NSLayoutConstraint*>*)constraints {
    for (NSLayoutConstraint* each in constraints) {
        NSView* const child = each.firstItem;
        NSView* const parent = each.secondItem;
        if (child.superview != parent)
            [NSException raise:NSInvalidArgumentException format:@"only edges can be pinned"];
        child.frame = parent.bounds;
        child.autoresizingMask = NSViewWidthSizable | NSViewHeightSizable;
    }
}

@end

@implementation NSGraphicsContext (Stage)

+ (void)load {
    quoxelin::stage::exchange(object_getClass(self), @selector(setCurrentContext:),
                              @selector(stage_setCurrentContext:));
}

/// Retains the current context like Apple's AppKit; GNUstep does not.
+ (void)stage_setCurrentContext:(NSGraphicsContext*)context {
    static NSString* const key = @"StageContext";
    NSMutableDictionary* const own = [NSThread currentThread].threadDictionary;
    NS_VALID_UNTIL_END_OF_SCOPE id const last = own[key];
    [self stage_setCurrentContext:context];
    if (context != nil)
        own[key] = context;
    else
        [own removeObjectForKey:key];
}

@end

@implementation NSScreen (Stage)

+ (NSArray<NSScreen*>*)stageScreens {
    return [self screens];
}

@end
