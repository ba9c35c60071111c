#import <AppKit/AppKit.h>

#import "Tests/Platform/macOS/Stage/Properties.h"

/// GNUstep does not report that the loop is about to wait, so a timer calls the observer.
struct StageRunLoopObserver {
    void (^handler)(CFRunLoopObserverRef, CFRunLoopActivity);
    dispatch_source_t timer;
};

CFRunLoopRef CFRunLoopGetMain(void) {
    return nullptr;
}

CFRunLoopObserverRef CFRunLoopObserverCreateWithHandler(const void*, CFRunLoopActivity, bool, long,
                                                        void (^handler)(CFRunLoopObserverRef,
                                                                        CFRunLoopActivity)) {
    return new StageRunLoopObserver{[handler copy], nullptr};
}

void CFRunLoopAddObserver(CFRunLoopRef, CFRunLoopObserverRef observer, NSString*) {
    constexpr auto interval = 5 * NSEC_PER_MSEC;
    observer->timer =
        dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, dispatch_get_main_queue());
    dispatch_source_set_timer(observer->timer, DISPATCH_TIME_NOW, interval, 0);
    dispatch_source_set_event_handler(observer->timer, ^{
        observer->handler(observer, kCFRunLoopBeforeWaiting);
    });
    dispatch_resume(observer->timer);
}

void CFRunLoopObserverInvalidate(CFRunLoopObserverRef observer) {
    dispatch_source_cancel(observer->timer);
}

void CFRelease(CFRunLoopObserverRef) {}

/// The blocks that were given to the main run loop.
@interface StageBlocks : NSObject
@end

@implementation StageBlocks

+ (NSMutableArray<void (^)(void)>*)pending {
    static NSMutableArray* const all = [NSMutableArray array];
    return all;
}

+ (void)perform {
    NSArray<void (^)(void)>* due = nil;
    @synchronized(self.pending) {
        due = [self.pending copy];
        [self.pending removeAllObjects];
    }
    for (void (^block)(void) in due)
        block();
}

@end

void CFRunLoopPerformBlock(CFRunLoopRef, NSString*, void (^block)(void)) {
    @synchronized(StageBlocks.pending) {
        [StageBlocks.pending addObject:[block copy]];
    }
}

/// Uses another thread: GNUstep does not wake a run loop for work that its own thread adds.
void CFRunLoopWakeUp(CFRunLoopRef) {
    dispatch_async(dispatch_get_global_queue(0, 0), ^{
        [StageBlocks
            performSelectorOnMainThread:@selector(perform)
                             withObject:nil
                          waitUntilDone:NO
                                  modes:@[ NSDefaultRunLoopMode, NSModalPanelRunLoopMode ]];
    });
}

@interface NSObject (StageMainQueue)
+ (void*)mainQueueFileDescriptor;
@end

@implementation NSApplication (StageModalLoops)

+ (void)load {
    quoxelin::stage::exchange(self, @selector(beginModalSessionForWindow:),
                              @selector(stage_beginModalSessionForWindow:));
}

/// GNUstep's modal loops leave the main queue alone.
- (NSModalSession)stage_beginModalSessionForWindow:(NSWindow*)window {
    static dispatch_once_t once;
    dispatch_once(&once, ^{
        Class const drainer = NSClassFromString(@"GSMainQueueDrainer");
        [[NSRunLoop mainRunLoop] addEvent:[drainer mainQueueFileDescriptor]
                                     type:ET_RDESC
                                  watcher:[[drainer alloc] init]
                                  forMode:NSModalPanelRunLoopMode];
    });
    return [self stage_beginModalSessionForWindow:window];
}

@end
