#pragma once

#include "Platform/macOS/QXRow.h"
#include "View/ViewRecords.h"

#include <functional>
#include <string>

namespace quoxelin::testing {

/// A row with one text, as the panel has them.
inline ViewNode row(const std::string& label, std::function<void()> action) {
    ViewNode text;
    text.kind = ViewNode::Kind::text;
    text.text = label;
    ViewNode node;
    node.kind = ViewNode::Kind::row;
    node.padding = {6, 14, 6, 14};
    node.fillsWidth = true;
    node.accessibilityLabel = label;
    node.action = std::move(action);
    node.children = {text};
    return node;
}

inline QXRow* rowIn(NSView* view, NSString* label) {
    if ([view isKindOfClass:[QXRow class]] && [view.accessibilityLabel isEqualToString:label] &&
        view.window.visible)
        return static_cast<QXRow*>(view);
    for (NSView* each in view.subviews)
        if (QXRow* const found = rowIn(each, label))
            return found;
    return nil;
}

/// Nil if no window on the screen has it.
inline QXRow* rowOnScreen(NSString* label) {
    for (NSWindow* window in NSApp.windows)
        if (QXRow* const found = rowIn(window.contentView, label))
            return found;
    return nil;
}

/// Sends an event through the main loop.
inline void send(NSEvent* event) {
    [NSApp postEvent:event atStart:YES];
    [NSApp sendEvent:[NSApp nextEventMatchingMask:NSEventMaskAny
                                        untilDate:[NSDate date]
                                           inMode:NSDefaultRunLoopMode
                                          dequeue:YES]];
}

inline void sendMouse(NSEventType type, NSView* target, NSPoint place) {
    // Time must not go back between tests.
    static NSTimeInterval time = [::NSProcessInfo processInfo].systemUptime;
    time += 0.1;
    send([NSEvent mouseEventWithType:type
                            location:[target convertPoint:place toView:nil]
                       modifierFlags:0
                           timestamp:time
                        windowNumber:target.window.windowNumber
                             context:nil
                         eventNumber:0
                          clickCount:1
                            pressure:1]);
}

inline NSPoint middleOf(NSView* view) {
    return NSMakePoint(NSMidX(view.bounds), NSMidY(view.bounds));
}

} // namespace quoxelin::testing
