#import <AppKit/AppKit.h>

#import "Tests/Platform/macOS/Stage/Properties.h"
#import <GNUstepGUI/GSDisplayServer.h>
#import <X11/Xlib.h>
#import <X11/Xutil.h>
#include <algorithm>
#include <cmath>
#import <objc/runtime.h>

// GNUstep cannot draw into bitmaps. Here caching a view copies the screen, and drawing one bitmap
// into another copies its pixels.

using quoxelin::stage::associate;
using quoxelin::stage::associated;

static const char bitmapKey = 0;

static NSBitmapImageRep* makeBitmap(NSSize size) {
    return [[NSBitmapImageRep alloc] initWithBitmapDataPlanes:nullptr
                                                   pixelsWide:std::lround(size.width)
                                                   pixelsHigh:std::lround(size.height)
                                                bitsPerSample:8
                                              samplesPerPixel:4
                                                     hasAlpha:YES
                                                     isPlanar:NO
                                               colorSpaceName:NSCalibratedRGBColorSpace
                                                  bytesPerRow:0
                                                 bitsPerPixel:0];
}

static unsigned char* pixelAt(NSBitmapImageRep* bitmap, NSInteger x, NSInteger y) {
    constexpr NSInteger bytes = 4;
    return bitmap.bitmapData + y * bitmap.bytesPerRow + x * bytes;
}

/// Copies pixels of the screen. The origin is the upper left corner.
static void copyScreen(NSBitmapImageRep* bitmap, NSInteger left, NSInteger top) {
    Display* const display = static_cast<Display*>([GSCurrentServer() serverDevice]);
    const int screen = DefaultScreen(display);
    XSync(display, False);
    XImage* const image =
        XGetImage(display, RootWindow(display, screen), 0, 0,
                  static_cast<unsigned>(DisplayWidth(display, screen)),
                  static_cast<unsigned>(DisplayHeight(display, screen)), AllPlanes, ZPixmap);
    for (NSInteger y = std::max<NSInteger>(0, -top);
         y < std::min<NSInteger>(bitmap.pixelsHigh, image->height - top); ++y)
        for (NSInteger x = std::max<NSInteger>(0, -left);
             x < std::min<NSInteger>(bitmap.pixelsWide, image->width - left); ++x) {
            const unsigned long color =
                XGetPixel(image, static_cast<int>(left + x), static_cast<int>(top + y));
            unsigned char* const pixel = pixelAt(bitmap, x, y);
            pixel[0] = static_cast<unsigned char>(color >> 16);
            pixel[1] = static_cast<unsigned char>(color >> 8);
            pixel[2] = static_cast<unsigned char>(color);
            pixel[3] = 0xff;
        }
    XDestroyImage(image);
}

@implementation NSView (StagePictures)

- (NSBitmapImageRep*)bitmapImageRepForCachingDisplayInRect:(NSRect)rect {
    return makeBitmap(rect.size);
}

- (void)cacheDisplayInRect:(NSRect)rect toBitmapImageRep:(NSBitmapImageRep*)bitmap {
    [self.window display];
    [self.window flushWindow];
    const NSRect place = [self.window convertRectToScreen:[self convertRect:rect toView:nil]];
    const CGFloat height = NSMaxY([NSScreen mainScreen].frame);
    copyScreen(bitmap, std::lround(NSMinX(place)), std::lround(height - NSMaxY(place)));
}

@end

@implementation NSGraphicsContext (StagePictures)

+ (void)load {
    quoxelin::stage::exchange(object_getClass(self), @selector(graphicsContextWithBitmapImageRep:),
                              @selector(stage_graphicsContextWithBitmapImageRep:));
}

+ (NSGraphicsContext*)stage_graphicsContextWithBitmapImageRep:(NSBitmapImageRep*)bitmap {
    NSGraphicsContext* const made = [self stage_graphicsContextWithBitmapImageRep:bitmap];
    associate(made, &bitmapKey, bitmap);
    return made;
}

@end

@implementation NSBitmapImageRep (StagePictures)

+ (void)load {
    quoxelin::stage::exchange(self, @selector(drawInRect:), @selector(stage_drawInRect:));
}

- (BOOL)stage_drawInRect:(NSRect)rect {
    NSBitmapImageRep* const target = associated([NSGraphicsContext currentContext], &bitmapKey);
    if (target == nil)
        return [self stage_drawInRect:rect];
    const NSInteger left = std::lround(NSMinX(rect));
    const NSInteger top = target.pixelsHigh - std::lround(NSMaxY(rect));
    for (NSInteger y = 0; y < self.pixelsHigh; ++y)
        for (NSInteger x = 0; x < self.pixelsWide; ++x)
            std::copy_n(pixelAt(self, x, y), 4, pixelAt(target, left + x, top + y));
    return YES;
}

@end
