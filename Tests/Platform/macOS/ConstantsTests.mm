#include "Platform/NSApplication.h"
#include "Platform/NSPanel.h"
#include "Platform/NSWorkspace.h"
#include "Platform/NetworkExtension.h"
#include "Platform/SystemExtensions.h"
#include "Platform/macOS/ObjC.h"

#import <AppKit/AppKit.h>
#import <NetworkExtension/NetworkExtension.h>
#import <SystemExtensions/SystemExtensions.h>
#include <gtest/gtest.h>

namespace quoxelin::testing {

// The constants that exist only at run time. The adapters check the others at compile time.

TEST(MacConstants, equalThoseOfTheFrameworks) {
    EXPECT_EQ(toString(::NEVPNErrorDomain), NEVPNErrorDomain);
    EXPECT_EQ(toString(::OSSystemExtensionErrorDomain), OSSystemExtensionErrorDomain);
    EXPECT_EQ(toString(::NSApplicationDidBecomeActiveNotification),
              NSApplicationDidBecomeActiveNotification);
    EXPECT_EQ(::NSFloatingWindowLevel, NSFloatingWindowLevel);
}

} // namespace quoxelin::testing
