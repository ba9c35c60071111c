#import <Foundation/Foundation.h>

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
