#import <AppKit/AppKit.h>

#import "Tests/Platform/macOS/Stage/Properties.h"
#include <algorithm>
#include <cmath>

@implementation NSCell (Stage)
@dynamic wraps, truncatesLastVisibleLine;

+ (void)load {
    quoxelin::stage::keepFlag(self, @"truncatesLastVisibleLine");
}

@end

/// AppKit's cell insets its text on both sides, also without a border.
static const CGFloat inset = 2;

@implementation NSTextFieldCell (Stage)

- (NSRect)titleRectForBounds:(NSRect)bounds {
    return NSInsetRect([super titleRectForBounds:bounds], inset, 0);
}

/// The size of the text within the bounds, which GNUstep ignores.
- (NSSize)cellSizeForBounds:(NSRect)bounds {
    const CGFloat available = bounds.size.width - 2 * inset;
    NSSize size = self.cellSize;
    if (self.wraps && size.width > available) {
        constexpr CGFloat anyHeight = 1e6;
        const NSRect taken =
            [self.attributedStringValue boundingRectWithSize:NSMakeSize(available, anyHeight)
                                                     options:NSStringDrawingUsesLineFragmentOrigin];
        size.width = std::ceil(taken.size.width);
        size.height = std::max(size.height, std::ceil(taken.size.height));
    }
    size.width = std::min(size.width, available) + 2 * inset;
    return size;
}

@end

@implementation NSControl (Stage)
@dynamic cell, enabled;

- (NSLineBreakMode)lineBreakMode {
    return [self.cell lineBreakMode];
}

- (void)setLineBreakMode:(NSLineBreakMode)mode {
    [self.cell setLineBreakMode:mode];
}

@end

@implementation NSTextField (Stage)
@dynamic editable, selectable, bordered, maximumNumberOfLines;

+ (void)load {
    quoxelin::stage::keepInteger(self, @"maximumNumberOfLines");
}

- (NSEdgeInsets)alignmentRectInsets {
    return {0, inset, 0, inset};
}

/// On a Mac a field without a border has no bezel either.
- (void)setBordered:(BOOL)bordered {
    NSTextFieldCell* const cell = static_cast<NSTextFieldCell*>(self.cell);
    [cell setBezeled:NO];
    [cell setBordered:bordered];
}

@end

@implementation NSButton (Stage)
@dynamic hasDestructiveAction;

+ (void)load {
    quoxelin::stage::keepFlag(self, @"hasDestructiveAction");
}

@end
