#include "Platform/macOS/QXRow.h"

#include "Platform/macOS/PopoverPresenter.h"

@implementation QXRow {
    std::function<void()> action;
    std::function<void(bool)> onHover;
    BOOL isHovered;
    NSTimeInterval pressTime;
}

- (instancetype)initWithFrame:(NSRect)frame {
    if ((self = [super initWithFrame:frame])) {
        [self addTrackingArea:[[NSTrackingArea alloc]
                                  initWithRect:NSZeroRect
                                       options:NSTrackingMouseEnteredAndExited |
                                               NSTrackingActiveAlways | NSTrackingInVisibleRect
                                         owner:self
                                      userInfo:nil]];
        self.accessibilityElement = YES;
        self.accessibilityRole = NSAccessibilityButtonRole;
    }
    return self;
}

- (void)setAction:(std::function<void()>)newAction {
    action = std::move(newAction);
}

- (void)setOnHover:(std::function<void(bool)>)newOnHover {
    onHover = std::move(newOnHover);
}

- (void)setDisabled:(BOOL)disabled {
    _disabled = disabled;
    self.accessibilityEnabled = !disabled;
    if (disabled && self.window.firstResponder == self)
        [self.window makeFirstResponder:nil];
}

- (void)press {
    // The action may remove this row.
    const auto current = action;
    if (!self.disabled && current)
        current();
}

- (void)setHovered:(BOOL)newIsHovered {
    if (isHovered == newIsHovered)
        return;
    isHovered = newIsHovered;
    if (const auto current = onHover)
        current(isHovered);
}

- (void)endHovering {
    [self setHovered:NO];
}

- (void)mouseEntered:(NSEvent*)event {
    [self setHovered:YES];
}

- (void)mouseExited:(NSEvent*)event {
    [self setHovered:NO];
}

- (BOOL)acceptsFirstMouse:(NSEvent*)event {
    return YES;
}

/// The row receives the clicks on its labels and symbols.
- (NSView*)hitTest:(NSPoint)point {
    return [super hitTest:point] == nil ? nil : self;
}

/// Does not call super, because the press would then move the window.
- (void)mouseDown:(NSEvent*)event {
    pressTime = event.timestamp;
}

/// Ignores the press that closed a popover, which would otherwise open it again.
- (void)mouseUp:(NSEvent*)event {
    if (quoxelin::lastDismissal() >= pressTime)
        return;
    const auto place = [self convertPoint:event.locationInWindow fromView:nil];
    if (NSPointInRect(place, self.bounds))
        [self press];
}

/// By keyboard only: a click must not leave a focus ring.
- (BOOL)acceptsFirstResponder {
    return !self.disabled && NSApp.currentEvent.type != NSEventTypeLeftMouseDown;
}

- (BOOL)becomeFirstResponder {
    [self scrollRectToVisible:self.bounds];
    return [super becomeFirstResponder];
}

- (BOOL)canBecomeKeyView {
    return !self.disabled && !self.hiddenOrHasHiddenAncestor;
}

- (void)keyDown:(NSEvent*)event {
    NSString* const keys = event.charactersIgnoringModifiers;
    switch (keys.length > 0 ? [keys characterAtIndex:0] : 0) {
    case NSCarriageReturnCharacter:
    case NSEnterCharacter:
    case ' ':
        [self press];
        return;
    case NSDownArrowFunctionKey:
        [self.window selectNextKeyView:self];
        return;
    case NSUpArrowFunctionKey:
        [self.window selectPreviousKeyView:self];
        return;
    }
    [super keyDown:event];
}

- (NSRect)focusRingMaskBounds {
    return self.bounds;
}

- (void)drawFocusRingMask {
    [[NSBezierPath bezierPathWithRoundedRect:NSInsetRect(self.bounds, 1, 1)
                                     xRadius:self.cornerRadius
                                     yRadius:self.cornerRadius] fill];
}

- (BOOL)accessibilityPerformPress {
    [self press];
    return !self.disabled;
}

@end
