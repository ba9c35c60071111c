#pragma once

#include "View/ViewRecords.h"

#import <AppKit/AppKit.h>

/// A tree of elements, as large as they take. It fills the window or pop-over that shows it.
@interface QXTreeView : NSView

/// Shows the tree in place of the one before.
- (void)show:(const quoxelin::ViewNode&)tree;

/// What is shown, as records; without their functions.
- (quoxelin::ViewNode)readBack;

/// Called after the tree has come to take another size.
- (void)setSizeDidChange:(std::function<void()>)sizeDidChange;

/// The window that it is in has come up, or has gone.
- (void)windowDidShow;
- (void)windowDidHide;

@end
