#pragma once

#include_next <Foundation/Foundation.h>
#include <dispatch/dispatch.h>
#include <float.h>
#include <stdint.h>

// Declares what GNUstep's Foundation lacks.

#ifndef NS_VALID_UNTIL_END_OF_SCOPE
#define NS_VALID_UNTIL_END_OF_SCOPE __attribute__((objc_precise_lifetime))
#endif

static inline CGSize CGSizeMake(CGFloat width, CGFloat height) {
    return NSMakeSize(width, height);
}
static inline CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
    return NSMakeRect(x, y, width, height);
}
static inline bool CGSizeEqualToSize(CGSize one, CGSize other) {
    return NSEqualSizes(one, other);
}
static const CGSize CGSizeZero = {0, 0};
static const NSRectEdge NSRectEdgeMinX = NSMinXEdge, NSRectEdgeMinY = NSMinYEdge,
                        NSRectEdgeMaxX = NSMaxXEdge, NSRectEdgeMaxY = NSMaxYEdge;

typedef unsigned int qos_class_t;
enum : unsigned int {
    QOS_CLASS_USER_INTERACTIVE = 0x21,
    QOS_CLASS_USER_INITIATED = 0x19,
    QOS_CLASS_DEFAULT = 0x15,
    QOS_CLASS_UTILITY = 0x11,
    QOS_CLASS_BACKGROUND = 0x09,
};

extern NSString* const NSStringEncodingDetectionSuggestedEncodingsKey;
extern NSString* const NSStringEncodingDetectionUseOnlySuggestedEncodingsKey;
extern NSString* const NSStringEncodingDetectionAllowLossyKey;

@interface NSString (Stage)
+ (NSStringEncoding)stringEncodingForData:(NSData*)data
                          encodingOptions:(NSDictionary*)options
                          convertedString:(NSString**)string
                      usedLossyConversion:(BOOL*)lossy;
@end

typedef struct {
    NSInteger majorVersion, minorVersion, patchVersion;
} NSOperatingSystemVersion;

@interface NSProcessInfo (Stage)
@property(readonly) NSOperatingSystemVersion operatingSystemVersion;
@end

@interface NSFileManager (Stage)
@property(readonly, copy) NSURL* temporaryDirectory;
@end

@interface NSXPCConnection (Stage)
@property(strong) NSXPCInterface* exportedInterface;
@property(strong) id exportedObject;
@end

typedef uint32_t AEEventClass, AEEventID, AEKeyword;
enum : uint32_t {
    kInternetEventClass = 'GURL',
    kAEGetURL = 'GURL',
    kCoreEventClass = 'aevt',
    kAEQuitApplication = 'quit',
    keyDirectObject = '----',
};

@interface NSAppleEventDescriptor (Stage)
+ (NSAppleEventDescriptor*)descriptorWithString:(NSString*)string;
@property(readonly, copy) NSString* stringValue;
- (NSAppleEventDescriptor*)paramDescriptorForKeyword:(AEKeyword)keyword;
- (void)setParamDescriptor:(NSAppleEventDescriptor*)descriptor forKeyword:(AEKeyword)keyword;
@end

@interface NSAppleEventManager (Stage)
+ (NSAppleEventManager*)sharedAppleEventManager;
- (void)setEventHandler:(id)handler
            andSelector:(SEL)handleEventSelector
          forEventClass:(AEEventClass)eventClass
             andEventID:(AEEventID)eventID;
- (void)removeEventHandlerForEventClass:(AEEventClass)eventClass andEventID:(AEEventID)eventID;
@end

@interface NSAppleScript (Stage)
- (instancetype)initWithSource:(NSString*)source;
- (NSAppleEventDescriptor*)executeAndReturnError:(NSDictionary<NSString*, id>**)errorInfo;
@end

typedef struct StageRunLoopObserver* CFRunLoopObserverRef;
typedef struct StageRunLoop* CFRunLoopRef;
typedef unsigned long CFRunLoopActivity;
enum : CFRunLoopActivity { kCFRunLoopBeforeWaiting = 1 << 5 };
static NSString* const kCFRunLoopCommonModes = @"kCFRunLoopCommonModes";

#ifdef __cplusplus
extern "C" {
#endif
CFRunLoopRef CFRunLoopGetMain(void);
CFRunLoopObserverRef
CFRunLoopObserverCreateWithHandler(const void* allocator, CFRunLoopActivity activities,
                                   bool repeats, long order,
                                   void (^handler)(CFRunLoopObserverRef, CFRunLoopActivity));
void CFRunLoopAddObserver(CFRunLoopRef loop, CFRunLoopObserverRef observer, NSString* mode);
void CFRunLoopObserverInvalidate(CFRunLoopObserverRef observer);
void CFRelease(CFRunLoopObserverRef observer);
void CFRunLoopPerformBlock(CFRunLoopRef loop, NSString* mode, void (^block)(void));
void CFRunLoopWakeUp(CFRunLoopRef loop);
#ifdef __cplusplus
}
#endif

// On a Mac a signal source works beside a signal handler. This libdispatch would replace the
// program's handler, and only once per process.
#ifdef __cplusplus
extern "C"
#endif
    dispatch_source_t
    stage_dispatch_source_create(dispatch_source_type_t type, uintptr_t handle, unsigned long mask,
                                 dispatch_queue_t queue);
#define dispatch_source_create stage_dispatch_source_create
