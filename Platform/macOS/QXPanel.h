#pragma once

#include "Platform/macOS/QXTreeView.h"

/// A borderless panel that can become key. It always has the size of its content, and its top edge
/// stays in place when the content changes.
@interface QXPanel : NSPanel

@property(nonatomic) QXTreeView* treeView;

/// The handler is called after each time the panel becomes hidden.
- (void)setDidOrderOut:(std::function<void()>)handler;

- (void)fitContent;

@end
