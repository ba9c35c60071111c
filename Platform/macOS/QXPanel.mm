#include "Platform/macOS/QXPanel.h"

@implementation QXPanel {
    std::function<void()> didOrderOut;
    BOOL isShown;
}

- (instancetype)initWithContentRect:(NSRect)contentRect
                          styleMask:(NSWindowStyleMask)style
                            backing:(NSBackingStoreType)backing
                              defer:(BOOL)defer {
    if ((self = [super initWithContentRect:contentRect
                                 styleMask:style
                                   backing:backing
                                     defer:defer])) {
        // The application alone decides when the panel is shown.
        self.hidesOnDeactivate = NO;
        self.releasedWhenClosed = NO;
        self.autorecalculatesKeyViewLoop = YES;
        // Hiding the application hides its windows without calling orderOut:.
        [[NSNotificationCenter defaultCenter] addObserver:self
                                                 selector:@selector(applicationDidHide:)
                                                     name:NSApplicationDidHideNotification
                                                   object:nil];
    }
    return self;
}

- (BOOL)canBecomeKeyWindow {
    return YES;
}

- (void)setDidOrderOut:(std::function<void()>)handler {
    didOrderOut = std::move(handler);
}

- (void)setTreeView:(QXTreeView*)treeView {
    _treeView = treeView;
    __weak QXPanel* const panel = self;
    [treeView setSizeDidChange:[panel] { [panel fitContent]; }];
}

- (void)fitContent {
    const auto size = self.treeView.intrinsicContentSize;
    if (size.width <= 0 || size.height <= 0)
        return;
    const auto old = self.frame;
    [self setFrame:NSMakeRect(old.origin.x, NSMaxY(old) - size.height, size.width, size.height)
           display:YES];
}

- (void)makeKeyAndOrderFront:(id)sender {
    [super makeKeyAndOrderFront:sender];
    isShown = YES;
    [self.treeView windowDidShow];
}

- (void)orderOut:(id)sender {
    const BOOL wasShown = isShown;
    isShown = NO;
    // First close a sheet, which would keep the panel on the screen.
    if (wasShown)
        [self.treeView windowDidHide];
    [super orderOut:sender];
    if (!wasShown)
        return;
    if (const auto current = didOrderOut)
        current();
}

- (void)applicationDidHide:(NSNotification*)notification {
    if (isShown)
        [self orderOut:nil];
}

/// Called for Escape.
- (void)cancelOperation:(id)sender {
    [self orderOut:sender];
}

@end
