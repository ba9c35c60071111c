#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    @autoreleasepool {
        // The first to ask for the shared one decides of which class it is.
        [NSClassFromString(@"QXApplication") sharedApplication];
        NSApp.activationPolicy = NSApplicationActivationPolicyAccessory;
        [NSApp finishLaunching];
        ::testing::InitGoogleTest(&argc, argv);
        return RUN_ALL_TESTS();
    }
}
