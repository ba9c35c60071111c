#pragma once

#import <AppKit/AppKit.h>
#include <functional>

/// The target of a control whose action is a function of ours. Controls refer to their targets
/// weakly: whoever makes one keeps it.
@interface QXActionTarget : NSObject
@property(class, readonly) SEL action;
- (instancetype)initWithFunction:(std::function<void()>)function;
- (void)setIsEnabled:(std::function<bool()>)isEnabled;
@end
