#include "Platform/macOS/PopoverPresenter.h"

#include "Platform/macOS/QXTreeView.h"

static NSTimeInterval dismissalTime = -1;

/// Reports that the user closed the popover, but not that the program did.
@interface QXPopoverDelegate : NSObject <NSPopoverDelegate>
@property(nonatomic) BOOL isTakenAway;
- (void)setOnDismiss:(std::function<void()>)onDismiss;
@end

@implementation QXPopoverDelegate {
    std::function<void()> onDismiss;
}

- (void)setOnDismiss:(std::function<void()>)newOnDismiss {
    onDismiss = std::move(newOnDismiss);
}

- (void)popoverWillClose:(NSNotification*)notification {
    if (self.isTakenAway)
        return;
    dismissalTime = NSApp.currentEvent.timestamp;
    if (const auto dismiss = onDismiss)
        dismiss();
}

@end

namespace quoxelin {

PopoverPresenter::PopoverPresenter(NSView* anchor)
    : anchor(anchor), popover([[NSPopover alloc] init]), content([[QXTreeView alloc] init]),
      delegate([[QXPopoverDelegate alloc] init]) {
    NSViewController* const controller = [[NSViewController alloc] init];
    controller.view = content;
    popover.contentViewController = controller;
    popover.behavior = NSPopoverBehaviorTransient;
    popover.delegate = delegate;
    __weak NSPopover* const resized = popover;
    __weak QXTreeView* const shown = content;
    [content
        setSizeDidChange:[resized, shown] { resized.contentSize = shown.intrinsicContentSize; }];
}

PopoverPresenter::~PopoverPresenter() {
    takeAway();
}

void PopoverPresenter::bind(const Popover& record) {
    [delegate setOnDismiss:record.onDismiss];
    [content show:record.content];
    present();
}

Popover PopoverPresenter::readBack() const {
    return {[content readBack], nullptr};
}

void PopoverPresenter::present() {
    NSView* const beside = anchor;
    if (popover.shown || !beside.window.visible)
        return;
    delegate.isTakenAway = NO;
    popover.contentSize = content.intrinsicContentSize;
    [popover showRelativeToRect:beside.bounds ofView:beside preferredEdge:NSRectEdgeMaxX];
    [content windowDidShow];
}

void PopoverPresenter::takeAway() {
    delegate.isTakenAway = YES;
    [popover close];
    [content windowDidHide];
}

NSTimeInterval lastDismissal() {
    return dismissalTime;
}

} // namespace quoxelin
