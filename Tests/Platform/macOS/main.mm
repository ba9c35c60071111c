#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    @autoreleasepool {
        [NSApplication sharedApplication].activationPolicy = NSApplicationActivationPolicyAccessory;
        [NSApp finishLaunching];
        ::testing::InitGoogleTest(&argc, argv);
        return RUN_ALL_TESTS();
    }
}
