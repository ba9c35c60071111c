#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    @autoreleasepool {
        // The first class asked for the shared application creates it.
        [NSClassFromString(@"QXApplication") sharedApplication];
        NSApp.activationPolicy = NSApplicationActivationPolicyAccessory;
        [NSApp finishLaunching];
        ::testing::InitGoogleTest(&argc, argv);
        return RUN_ALL_TESTS();
    }
}
