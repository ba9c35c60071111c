#include "Platform/macOS/QXActionTarget.h"

@implementation QXActionTarget {
    std::function<void()> function;
    std::function<bool()> isEnabled;
}

+ (SEL)action {
    return @selector(perform:);
}

- (instancetype)initWithFunction:(std::function<void()>)newFunction {
    if ((self = [super init]))
        function = std::move(newFunction);
    return self;
}

- (void)setIsEnabled:(std::function<bool()>)newIsEnabled {
    isEnabled = std::move(newIsEnabled);
}

- (BOOL)validateMenuItem:(NSMenuItem*)item {
    return !isEnabled || isEnabled();
}

- (void)perform:(id)sender {
    // The function may replace the control and so destroy this object.
    if (const auto current = function)
        current();
}

@end
