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

@implementation NSTextFieldCell (Stage)

/// The size of the text within the bounds, which GNUstep ignores.
- (NSSize)cellSizeForBounds:(NSRect)bounds {
    NSSize size = self.cellSize;
    if (!self.wraps || size.width <= bounds.size.width) {
        size.width = std::min(size.width, bounds.size.width);
        return size;
    }
    constexpr CGFloat anyHeight = 1e6;
    const NSRect taken =
        [self.attributedStringValue boundingRectWithSize:NSMakeSize(bounds.size.width, anyHeight)
                                                 options:NSStringDrawingUsesLineFragmentOrigin];
    return NSMakeSize(std::min(bounds.size.width, std::ceil(taken.size.width)),
                      std::max(size.height, std::ceil(taken.size.height)));
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

/// The cell insets its text on both sides.
- (NSEdgeInsets)alignmentRectInsets {
    return {0, 2, 0, 2};
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
