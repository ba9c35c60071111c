#pragma once

#include "View/ViewRecords.h"

#import <AppKit/AppKit.h>

/// Shows a tree of elements and determines the size of its window or popover.
@interface QXTreeView : NSView

/// Replaces the current tree.
- (void)show:(const quoxelin::ViewNode&)tree;

/// Reads the tree back from the native views, without the functions.
- (quoxelin::ViewNode)readBack;

/// The handler is called after the tree's size changed.
- (void)setSizeDidChange:(std::function<void()>)sizeDidChange;

/// Call them after its window appeared and before it disappears.
- (void)windowDidShow;
- (void)windowDidHide;

@end
