#pragma once

#import <Foundation/Foundation.h>

// Declares what GNUstep's AppKit lacks or declares differently from Apple's: properties instead of
// methods, and constants instead of macros, because the product has constants with the same names.

#define NSFloatingWindowLevel StageOwnFloatingWindowLevel
#define separatorItem stageUntypedSeparatorItem
#include_next <AppKit/AppKit.h>
#undef NSFloatingWindowLevel
#undef separatorItem
enum { NSFloatingWindowLevel = 3 };

#undef NSSquareStatusItemLength
#undef NSVariableStatusItemLength
static const CGFloat NSSquareStatusItemLength = -2, NSVariableStatusItemLength = -1;

typedef NSString* NSFontTextStyle;
extern NSFontTextStyle const NSFontTextStyleHeadline, NSFontTextStyleSubheadline,
    NSFontTextStyleBody, NSFontTextStyleCallout, NSFontTextStyleFootnote, NSFontTextStyleCaption1;

@interface NSFont (Stage)
+ (NSFont*)preferredFontForTextStyle:(NSFontTextStyle)style options:(NSDictionary*)options;
+ (NSFont*)systemFontOfSize:(CGFloat)size weight:(NSFontWeight)weight;
@end

static const NSCompositingOperation NSCompositingOperationSourceOver = NSCompositeSourceOver;
static const NSBitmapImageFileType NSBitmapImageFileTypePNG = NSPNGFileType;
static const NSAlertStyle NSAlertStyleWarning = NSWarningAlertStyle;
enum : unsigned long long {
    NSEventMaskLeftMouseDown = 1ULL << 1,
    NSEventMaskRightMouseDown = 1ULL << 3,
    NSEventMaskAny = 0xffffffffULL,
};

typedef NS_ENUM(NSInteger, NSWindowTitleVisibility) {
    NSWindowTitleVisible = 0,
    NSWindowTitleHidden = 1
};

@interface CALayer : NSObject
@property CGFloat cornerRadius;
@property BOOL masksToBounds;
@end

@interface NSColor (Stage)
@property(class, readonly) NSColor* separatorColor;
@end

@interface NSScreen (Stage)
@property(class, readonly, getter=stageScreens) NSArray<NSScreen*>* screens;
@end

@interface NSView (Stage)
@property(getter=isHidden) BOOL hidden;
@property(readonly, getter=isHiddenOrHasHiddenAncestor) BOOL hiddenOrHasHiddenAncestor;
@property BOOL wantsLayer;
@property(strong) CALayer* layer;
@property BOOL needsLayout;
- (void)invalidateIntrinsicContentSize;
@property(readonly) NSEdgeInsets alignmentRectInsets;
- (NSRect)alignmentRectForFrame:(NSRect)frame;
- (NSRect)frameForAlignmentRect:(NSRect)alignmentRect;
- (void)addTrackingArea:(NSTrackingArea*)area;
- (void)removeTrackingArea:(NSTrackingArea*)area;
@property(readonly, copy) NSArray<NSTrackingArea*>* trackingAreas;
@property(getter=isAccessibilityElement) BOOL accessibilityElement;
@property(getter=isAccessibilityEnabled) BOOL accessibilityEnabled;
@property(copy) NSString* accessibilityRole;
@property(copy) NSString* accessibilityLabel;
@property(copy) NSString* accessibilityHelp;
@property(getter=isAccessibilityExpanded) BOOL accessibilityExpanded;
@end

@interface NSCell (Stage)
@property BOOL wraps;
@property BOOL truncatesLastVisibleLine;
@end

@interface NSControl (Stage)
@property(strong) NSCell* cell;
@property(getter=isEnabled) BOOL enabled;
@property NSLineBreakMode lineBreakMode;
@end

@interface NSTextField (Stage)
@property(getter=isEditable) BOOL editable;
@property(getter=isSelectable) BOOL selectable;
@property(getter=isBordered) BOOL bordered;
@property NSInteger maximumNumberOfLines;
@end

@interface NSButton (Stage)
@property BOOL hasDestructiveAction;
@end

@interface NSImageSymbolConfiguration : NSObject
+ (instancetype)configurationWithTextStyle:(NSFontTextStyle)style;
@property(readonly, copy) NSFontTextStyle textStyle;
@end

@interface NSImage (Stage)
+ (instancetype)imageWithSystemSymbolName:(NSString*)name
                 accessibilityDescription:(NSString*)description;
@end

@interface NSImageView (Stage)
@property(strong) NSImageSymbolConfiguration* symbolConfiguration;
@end

@interface NSWindow (Stage)
@property(readonly, getter=isVisible) BOOL visible;
@property(strong) NSView* contentView;
@property NSWindowTitleVisibility titleVisibility;
@property BOOL titlebarAppearsTransparent;
- (void)endSheet:(NSWindow*)sheet returnCode:(NSModalResponse)code;
@end

@interface NSMenuItem (Declared)
+ (NSMenuItem*)separatorItem;
@end

@interface NSAlert (Stage)
@property(readonly) NSWindow* window;
@end

@interface NSPopover (Stage)
@property(readonly, getter=isShown) BOOL shown;
@end

@interface NSApplication (Stage)
@property NSApplicationActivationPolicy activationPolicy;
@end

@interface NSEvent (Stage)
+ (id)addGlobalMonitorForEventsMatchingMask:(NSEventMask)mask handler:(void (^)(NSEvent*))handler;
+ (void)removeMonitor:(id)monitor;
@end

@interface NSStatusItem (Stage)
@property(readonly) NSStatusBarButton* button;
@end

@interface NSPasteboard (Stage)
- (NSInteger)clearContents;
@end

@interface NSWorkspaceOpenConfiguration : NSObject
+ (instancetype)configuration;
@end

@interface NSWorkspace (Stage)
- (NSURL*)URLForApplicationWithBundleIdentifier:(NSString*)identifier;
- (void)openApplicationAtURL:(NSURL*)url
               configuration:(NSWorkspaceOpenConfiguration*)configuration
           completionHandler:(void (^)(id, NSError*))handler;
@end
