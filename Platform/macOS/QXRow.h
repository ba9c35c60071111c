#pragma once

#include "Platform/macOS/QXBox.h"

#include <functional>

/// A full-width button that draws only its focus ring.
@interface QXRow : QXBox

@property(nonatomic) BOOL disabled;
/// Whether its action opens and closes a popover.
@property(nonatomic) BOOL hasPopover;
- (void)setAction:(std::function<void()>)action;
- (void)setOnHover:(std::function<void(bool)>)onHover;

/// Call it when the row or its window goes away: reports that the pointer has left.
- (void)endHovering;

/// Performs the action, as a click does.
- (void)press;

@end
