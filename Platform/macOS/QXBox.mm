#include "Platform/macOS/QXBox.h"

@implementation QXBox

- (instancetype)initWithFrame:(NSRect)frame {
    if ((self = [super initWithFrame:frame])) {
        _fillColor = NSColor.clearColor;
        _fillOpacity = 1;
    }
    return self;
}

- (BOOL)isFlipped {
    return YES;
}

- (void)setFillColor:(NSColor*)color {
    _fillColor = color;
    self.needsDisplay = YES;
}

- (void)setFillOpacity:(CGFloat)opacity {
    _fillOpacity = opacity;
    self.needsDisplay = YES;
}

- (void)setCornerRadius:(CGFloat)radius {
    _cornerRadius = radius;
    self.needsDisplay = YES;
}

- (NSRect)contentRect {
    const auto& padding = _padding;
    const auto bounds = self.bounds;
    return NSMakeRect(padding.leading, padding.top,
                      MAX(0, bounds.size.width - padding.leading - padding.trailing),
                      MAX(0, bounds.size.height - padding.top - padding.bottom));
}

- (void)drawRect:(NSRect)dirtyRect {
    if ([self.fillColor isEqual:NSColor.clearColor])
        return;
    [[self.fillColor colorWithAlphaComponent:self.fillOpacity] setFill];
    [[NSBezierPath bezierPathWithRoundedRect:self.bounds
                                     xRadius:self.cornerRadius
                                     yRadius:self.cornerRadius] fill];
}

@end

@implementation QXCircle

- (void)setCircleColor:(NSColor*)color {
    _circleColor = color;
    self.needsDisplay = YES;
}

- (void)drawRect:(NSRect)dirtyRect {
    [super drawRect:dirtyRect];
    [self.circleColor setFill];
    [[NSBezierPath bezierPathWithOvalInRect:self.contentRect] fill];
}

@end

@implementation QXDivider

- (void)drawRect:(NSRect)dirtyRect {
    [super drawRect:dirtyRect];
    [NSColor.separatorColor setFill];
    NSRectFillUsingOperation(self.contentRect, NSCompositingOperationSourceOver);
}

@end
