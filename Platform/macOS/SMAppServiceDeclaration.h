#pragma once

#include <Availability.h>
#import <ServiceManagement/ServiceManagement.h>

// Declares the part of SMAppService (macOS 13) that we use, for SDKs that lack it. Every supported
// system has the class.

#if !defined(__MAC_13_0) || __MAC_OS_X_VERSION_MAX_ALLOWED < __MAC_13_0

@interface SMAppService : NSObject

@property(class, readonly) SMAppService* mainAppService;
+ (instancetype)daemonServiceWithPlistName:(NSString*)plistName;

- (BOOL)registerAndReturnError:(NSError**)error;
- (BOOL)unregisterAndReturnError:(NSError**)error;
@property(readonly) NSInteger status;

@end

#else

static_assert(SMAppServiceStatusNotRegistered == 0 && SMAppServiceStatusEnabled == 1 &&
              SMAppServiceStatusRequiresApproval == 2 && SMAppServiceStatusNotFound == 3);

#endif
