#pragma once

#include "Platform/macOS/QXTreeView.h"

/// A panel without a frame that takes the keyboard all the same. It is as large as its content,
/// whatever size it was made with; its upper edge stays where it is when the content changes.
@interface QXPanel : NSPanel

@property(nonatomic) QXTreeView* treeView;

/// Called whenever it has become hidden.
- (void)setDidOrderOut:(std::function<void()>)handler;

- (void)fitContent;

@end
