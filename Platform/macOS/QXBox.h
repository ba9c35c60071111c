#pragma once

#include "View/ViewRecords.h"

#import <AppKit/AppKit.h>

/// The native view of one element: a background with rounded corners, laid out from the top, and
/// placed by the element that contains it.
@interface QXBox : NSView

/// Drawn in the view's own appearance, so that it follows light and dark.
@property(nonatomic) NSColor* fillColor;
@property(nonatomic) CGFloat fillOpacity;
@property(nonatomic) CGFloat cornerRadius;

/// What lies between the edges and the content.
@property(nonatomic) quoxelin::EdgeInsets padding;

/// The place of the content in the view's own coordinates.
@property(nonatomic, readonly) NSRect contentRect;

@end

/// A filled circle in the content's place.
@interface QXCircle : QXBox
@property(nonatomic) NSColor* circleColor;
@end

/// A line across the content's place.
@interface QXDivider : QXBox
@end
