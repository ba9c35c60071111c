#import <AppKit/AppKit.h>
#import <objc/runtime.h>

#import "Tests/Platform/macOS/Stage/Properties.h"
#import "Tests/Platform/macOS/Stage/Stage.h"
#import "Tests/Platform/macOS/Stage/StageServices.h"

static const char stringKey = 0, parametersKey = 0, sourceKey = 0;

@implementation NSAppleEventDescriptor (Stage)

+ (NSAppleEventDescriptor*)descriptorWithString:(NSString*)string {
    NSAppleEventDescriptor* const made = [[self alloc] init];
    objc_setAssociatedObject(made, &stringKey, string, OBJC_ASSOCIATION_COPY);
    return made;
}

- (NSString*)stringValue {
    return objc_getAssociatedObject(self, &stringKey);
}

- (NSAppleEventDescriptor*)paramDescriptorForKeyword:(AEKeyword)keyword {
    return [objc_getAssociatedObject(self, &parametersKey) objectForKey:@(keyword)];
}

- (void)setParamDescriptor:(NSAppleEventDescriptor*)descriptor forKeyword:(AEKeyword)keyword {
    NSMutableDictionary* all = objc_getAssociatedObject(self, &parametersKey);
    if (all == nil)
        all = [NSMutableDictionary dictionary];
    all[@(keyword)] = descriptor;
    objc_setAssociatedObject(self, &parametersKey, all, OBJC_ASSOCIATION_RETAIN);
}

@end

/// Like the real manager, does not retain the handler.
@interface StageEventHandler : NSObject
@property(unsafe_unretained) id receiver;
@property SEL selector;
@end

@implementation StageEventHandler
@end

static NSArray<NSNumber*>* kindOf(AEEventClass eventClass, AEEventID eventID) {
    return @[ @(eventClass), @(eventID) ];
}

static NSMutableDictionary<NSArray<NSNumber*>*, StageEventHandler*>* eventHandlers() {
    static NSMutableDictionary* const all = [NSMutableDictionary dictionary];
    return all;
}

@implementation NSAppleEventManager (Stage)

+ (NSAppleEventManager*)sharedAppleEventManager {
    static NSAppleEventManager* const one = [[self alloc] init];
    return one;
}

- (void)setEventHandler:(id)receiver
            andSelector:(SEL)selector
          forEventClass:(AEEventClass)eventClass
             andEventID:(AEEventID)eventID {
    StageEventHandler* const handler = [[StageEventHandler alloc] init];
    handler.receiver = receiver;
    handler.selector = selector;
    eventHandlers()[kindOf(eventClass, eventID)] = handler;
}

- (void)removeEventHandlerForEventClass:(AEEventClass)eventClass andEventID:(AEEventID)eventID {
    [eventHandlers() removeObjectForKey:kindOf(eventClass, eventID)];
}

@end

namespace quoxelin::stage {

bool sendEvent(AEEventClass eventClass, AEEventID eventID, NSAppleEventDescriptor* event) {
    StageEventHandler* const handler = eventHandlers()[kindOf(eventClass, eventID)];
    if (handler == nil)
        return false;
    using Handle = void (*)(id, SEL, NSAppleEventDescriptor*, NSAppleEventDescriptor*);
    const auto handle =
        reinterpret_cast<Handle>([handler.receiver methodForSelector:handler.selector]);
    handle(handler.receiver, handler.selector, event, [[NSAppleEventDescriptor alloc] init]);
    return true;
}

static NSMutableArray<void (^)(void)>* postedEvents() {
    static NSMutableArray* const all = [NSMutableArray array];
    return all;
}

static void deliverPostedEvent() {
    void (^const first)(void) = postedEvents().firstObject;
    if (first == nil)
        return;
    [postedEvents() removeObjectAtIndex:0];
    first();
}

void postEvent(AEEventClass eventClass, AEEventID eventID, NSAppleEventDescriptor* event) {
    [postedEvents() addObject:^{
        sendEvent(eventClass, eventID, event);
    }];
    CFRunLoopPerformBlock(CFRunLoopGetMain(), kCFRunLoopCommonModes, ^{
        deliverPostedEvent();
    });
    CFRunLoopWakeUp(CFRunLoopGetMain());
}

NSMutableArray<NSString*>* scripts() {
    static NSMutableArray<NSString*>* const all = [NSMutableArray array];
    static dispatch_once_t once;
    dispatch_once(&once, ^{
        onReset(^{
            [all removeAllObjects];
        });
    });
    return all;
}

} // namespace quoxelin::stage

@implementation NSApplication (StageEvents)

+ (void)load {
    quoxelin::stage::exchange(self, @selector(finishLaunching), @selector(stage_finishLaunching));
}

- (void)stage_finishLaunching {
    [self stage_finishLaunching];
    quoxelin::stage::deliverPostedEvent();
}

@end

@implementation NSAppleScript (Stage)

/// Nil if the source cannot be compiled.
- (instancetype)initWithSource:(NSString*)source {
    if (quoxelin::stage::outcomeOf(@"initWithSource") != nil)
        return nil;
    if ((self = [self init]))
        objc_setAssociatedObject(self, &sourceKey, source, OBJC_ASSOCIATION_COPY);
    return self;
}

- (NSAppleEventDescriptor*)executeAndReturnError:(NSDictionary<NSString*, id>**)errorInfo {
    NSError* const error = quoxelin::stage::outcomeOf(@"executeAndReturnError");
    if (error != nil) {
        if (errorInfo != nullptr)
            *errorInfo = @{@"NSAppleScriptErrorMessage" : error.localizedDescription};
        return nil;
    }
    @synchronized(quoxelin::stage::scripts()) {
        [quoxelin::stage::scripts() addObject:objc_getAssociatedObject(self, &sourceKey)];
    }
    return [[NSAppleEventDescriptor alloc] init];
}

@end
