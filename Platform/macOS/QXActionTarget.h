#pragma once

#import <AppKit/AppKit.h>
#include <functional>

/// A control's target that calls a function. Controls reference their targets weakly, so keep
/// a reference to it.
@interface QXActionTarget : NSObject
@property(class, readonly) SEL action;
- (instancetype)initWithFunction:(std::function<void()>)function;
- (void)setIsEnabled:(std::function<bool()>)isEnabled;
@end
