#pragma once

#import <Foundation/Foundation.h>

/// The NSXPCConnection interface of the privileged helper, also compiled into the application.
@protocol HelperToolProtocol

- (void)runGoToolWithPath:(NSString*)path
                arguments:(NSArray<NSString*>*)arguments
                withReply:(void (^)(NSString* output))reply;

- (void)pingWithReply:(void (^)(BOOL isThere))reply;

@end
