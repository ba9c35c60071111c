#pragma once

#include "View/ViewRecords.h"

#import <AppKit/AppKit.h>

/// The native view of one element: a background with rounded corners. Its coordinates start at the
/// top; the parent element places it.
@interface QXBox : NSView

/// Resolved in the view's appearance, so that it follows light and dark.
@property(nonatomic) NSColor* fillColor;
@property(nonatomic) CGFloat fillOpacity;
@property(nonatomic) CGFloat cornerRadius;

/// The space between the edges and the content.
@property(nonatomic) quoxelin::EdgeInsets padding;

/// The content's rectangle in the view's coordinates.
@property(nonatomic, readonly) NSRect contentRect;

@end

/// A filled circle in the content's rectangle.
@interface QXCircle : QXBox
@property(nonatomic) NSColor* circleColor;
@end

/// A line across the content's rectangle.
@interface QXDivider : QXBox
@end
