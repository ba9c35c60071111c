#pragma once

#include "Platform/macOS/QXBox.h"

#include <functional>

/// A button as wide as the panel, which draws nothing of its own but the focus ring.
@interface QXRow : QXBox

@property(nonatomic) BOOL disabled;
- (void)setAction:(std::function<void()>)action;
- (void)setOnHover:(std::function<void(bool)>)onHover;

/// The pointer is said to have left when the row goes, or its window.
- (void)endHovering;

/// What a click does.
- (void)press;

@end
