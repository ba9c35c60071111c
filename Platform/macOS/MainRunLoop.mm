#include "Platform/macOS/MainRunLoop.h"

#import <Foundation/Foundation.h>

namespace quoxelin {

void onMainRunLoop(std::function<void()> work) {
    CFRunLoopPerformBlock(CFRunLoopGetMain(), kCFRunLoopCommonModes, ^{
        work();
    });
    CFRunLoopWakeUp(CFRunLoopGetMain());
}

} // namespace quoxelin
