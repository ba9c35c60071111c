#pragma once

#import <Foundation/Foundation.h>

/// What the privileged helper answers to, over NSXPCConnection. The application compiles it, too.
@protocol HelperToolProtocol

- (void)runGoToolWithPath:(NSString*)path
                arguments:(NSArray<NSString*>*)arguments
                withReply:(void (^)(NSString* output))reply;

- (void)pingWithReply:(void (^)(BOOL isThere))reply;

@end
