#include "Simulation/Desktop/macOS/MacScreen.h"

#include "Platform/macOS/LeafViews.h"
#include "Platform/macOS/MacDesktop.h"
#include "Platform/macOS/ObjC.h"
#include "Platform/macOS/QXPanel.h"
#include "Platform/macOS/QXRow.h"

#include <algorithm>
#include <cmath>

namespace quoxelin {

namespace {

/// Collects the visible views of one class within `view`.
template <typename View> void collect(NSView* view, std::vector<View*>& found) {
    if (view.hidden)
        return;
    if ([view isKindOfClass:[View class]])
        found.push_back(static_cast<View*>(view));
    for (NSView* each in view.subviews)
        collect(each, found);
}

template <typename View> std::vector<View*> viewsIn(NSWindow* window) {
    std::vector<View*> found;
    collect(window.contentView, found);
    return found;
}

/// The panel is at the bottom, then its popovers, then an alert. Empty for other windows.
std::optional<int> layerOf(NSWindow* window) {
    if (!window.visible)
        return std::nullopt;
    if (window.sheetParent != nil)
        return 2;
    if (viewsIn<QXTreeView>(window).empty())
        return std::nullopt;
    return [window isKindOfClass:[QXPanel class]] ? 0 : 1;
}

std::vector<NSWindow*> windowsOnScreen() {
    std::vector<NSWindow*> windows;
    for (NSWindow* each in NSApp.windows)
        if (layerOf(each))
            windows.push_back(each);
    std::stable_sort(windows.begin(), windows.end(), [](NSWindow* one, NSWindow* other) {
        return *layerOf(one) < *layerOf(other);
    });
    return windows;
}

CGRect placeInWindow(NSView* view) {
    return [view convertRect:view.bounds toView:nil];
}

bool isReadBefore(NSView* one, NSView* other) {
    const auto first = placeInWindow(one);
    const auto second = placeInWindow(other);
    if (NSMaxY(first) != NSMaxY(second))
        return NSMaxY(first) > NSMaxY(second);
    return NSMinX(first) < NSMinX(second);
}

std::vector<NSTextField*> labelsIn(NSWindow* window) {
    auto labels = viewsIn<NSTextField>(window);
    std::erase_if(labels,
                  [](NSTextField* each) { return each.editable || each.stringValue.length == 0; });
    std::stable_sort(labels.begin(), labels.end(), isReadBefore);
    return labels;
}

/// The row or alert button with that name; nil if none is on the screen.
NSView* pressable(const std::string& name) {
    NSString* const label = toNSString(name);
    auto windows = windowsOnScreen();
    std::reverse(windows.begin(), windows.end());
    for (NSWindow* window : windows) {
        for (QXRow* row : viewsIn<QXRow>(window))
            if ([row.accessibilityLabel isEqualToString:label])
                return row;
        for (NSButton* button : viewsIn<NSButton>(window))
            if ([button.title isEqualToString:label])
                return button;
    }
    return nil;
}

/// Converts from AppKit's coordinates, which start at the first screen's lower left corner.
NSRect fromUpperLeft(CGRect place) {
    const auto height = NSMaxY(NSScreen.screens.firstObject.frame);
    return {place.origin.x, height - NSMaxY(place), place.size.width, place.size.height};
}

void draw(NSWindow* window, NSPoint origin) {
    NSView* const content = window.contentView;
    NSView* const whole = content.superview != nil ? content.superview : content;
    NSBitmapImageRep* const drawn = [whole bitmapImageRepForCachingDisplayInRect:whole.bounds];
    [whole cacheDisplayInRect:whole.bounds toBitmapImageRep:drawn];
    [drawn drawInRect:NSOffsetRect(window.frame, -origin.x, -origin.y)];
}

/// Nil if no window is on the screen.
NSBitmapImageRep* pictureOf(const std::vector<NSWindow*>& windows) {
    CGRect area = NSZeroRect;
    CGFloat scale = 1;
    for (NSWindow* each : windows) {
        area = NSUnionRect(area, each.frame);
        scale = std::max(scale, each.backingScaleFactor);
    }
    if (NSIsEmptyRect(area))
        return nil;
    NSBitmapImageRep* const picture =
        [[NSBitmapImageRep alloc] initWithBitmapDataPlanes:nullptr
                                                pixelsWide:std::lround(area.size.width * scale)
                                                pixelsHigh:std::lround(area.size.height * scale)
                                             bitsPerSample:8
                                           samplesPerPixel:4
                                                  hasAlpha:YES
                                                  isPlanar:NO
                                            colorSpaceName:NSCalibratedRGBColorSpace
                                               bytesPerRow:0
                                              bitsPerPixel:0];
    picture.size = area.size;
    [NSGraphicsContext saveGraphicsState];
    NSGraphicsContext.currentContext =
        [NSGraphicsContext graphicsContextWithBitmapImageRep:picture];
    for (NSWindow* each : windows)
        draw(each, area.origin);
    [NSGraphicsContext restoreGraphicsState];
    return picture;
}

} // namespace

MacScreen::MacScreen(MacDesktop& desktop) : MacScreen(desktop.panels) {}

std::vector<std::string> MacScreen::texts() const {
    std::vector<std::string> texts;
    for (NSWindow* window : windowsOnScreen())
        for (NSTextField* label : labelsIn(window))
            texts.push_back(toString([label isKindOfClass:[QXLabel class]]
                                         ? static_cast<QXLabel*>(label).wholeText
                                         : label.stringValue));
    return texts;
}

MacScreen::Press MacScreen::press(const std::string& label) {
    NSView* const found = pressable(label);
    if (found == nil)
        return Press::absent;
    if ([found isKindOfClass:[QXRow class]]) {
        QXRow* const row = static_cast<QXRow*>(found);
        if (row.disabled)
            return Press::disabled;
        [row press];
        return Press::done;
    }
    NSButton* const button = static_cast<NSButton*>(found);
    if (!button.enabled)
        return Press::disabled;
    [button performClick:nil];
    return Press::done;
}

std::optional<NSRect> MacScreen::placeOf(const std::string& label) const {
    NSView* const found = pressable(label);
    if (found == nil)
        return std::nullopt;
    return fromUpperLeft([found.window convertRectToScreen:placeInWindow(found)]);
}

std::optional<NSRect> MacScreen::panel() const {
    for (NSWindow* window : windowsOnScreen())
        if ([window isKindOfClass:[QXPanel class]])
            return fromUpperLeft(window.frame);
    return std::nullopt;
}

MacScreen::Picture MacScreen::savePicture(const std::string& path) const {
    NSBitmapImageRep* const picture = pictureOf(windowsOnScreen());
    if (picture == nil)
        return Picture::empty;
    NSData* const bytes = [picture representationUsingType:NSBitmapImageFileTypePNG properties:@{}];
    NSURL* const file = toFileURL(path);
    if (bytes == nil || file == nil || ![bytes writeToURL:file atomically:YES])
        return Picture::failed;
    return Picture::saved;
}

void MacScreen::pressElsewhere() {
    panels.pressElsewhere();
}

} // namespace quoxelin
