#include "Platform/macOS/MacAppleEventManager.h"

#include "Platform/macOS/FrameworkNotifications.h"
#include "Platform/macOS/ObjC.h"

#import <AppKit/AppKit.h>
#include <deque>

/// Calls the handler with the direct object of each event as a string.
@interface QXEventTarget : NSObject
- (instancetype)initWithHandler:(std::function<void(std::optional<std::string>)>)handler;
- (void)handleEvent:(NSAppleEventDescriptor*)event withReplyEvent:(NSAppleEventDescriptor*)reply;
@end

@implementation QXEventTarget {
    std::function<void(std::optional<std::string>)> handler;
}

- (instancetype)initWithHandler:(std::function<void(std::optional<std::string>)>)newHandler {
    if ((self = [super init]))
        handler = std::move(newHandler);
    return self;
}

- (void)handleEvent:(NSAppleEventDescriptor*)event withReplyEvent:(NSAppleEventDescriptor*)reply {
    NSString* const text = [event paramDescriptorForKeyword:keyDirectObject].stringValue;
    if (text == nil)
        handler(std::nullopt);
    else
        handler(quoxelin::toString(text));
}

@end

namespace quoxelin {

struct MacAppleEventManager::Receiver {
    /// One may arrive while another is handled; it comes last.
    void deliver() {
        while (handler && !waiting.empty()) {
            auto first = std::move(waiting.front());
            waiting.pop_front();
            handler(std::move(first));
        }
    }

    std::deque<std::optional<std::string>> waiting;
    std::function<void(std::optional<std::string>)> handler;
    QXEventTarget* target = nil;
    FrameworkNotifications notifications;
};

MacAppleEventManager::MacAppleEventManager() : receiver(std::make_shared<Receiver>()) {
    receiver->target = [[QXEventTarget alloc]
        initWithHandler:[weak = std::weak_ptr(receiver)](std::optional<std::string> text) {
            if (const auto held = weak.lock()) {
                held->waiting.push_back(std::move(text));
                held->deliver();
            }
        }];
    // Launching installs the framework's handlers and then delivers the event that started us.
    receiver->notifications.observe(
        NSApplicationWillFinishLaunchingNotification, [target = receiver->target] {
            [[::NSAppleEventManager sharedAppleEventManager]
                setEventHandler:target
                    andSelector:@selector(handleEvent:withReplyEvent:)
                  forEventClass:(::kInternetEventClass)andEventID:(::kAEGetURL)];
        });
}

MacAppleEventManager::~MacAppleEventManager() {
    [[::NSAppleEventManager sharedAppleEventManager]
        removeEventHandlerForEventClass:(::kInternetEventClass)
                             andEventID:(::kAEGetURL)];
}

void MacAppleEventManager::setEventHandler(
    const std::string& eventClass, const std::string& eventID,
    std::function<void(std::optional<std::string>)> handler) {
    if (eventClass != kInternetEventClass || eventID != kAEGetURL)
        return;
    receiver->handler = std::move(handler);
    dispatch_async(dispatch_get_main_queue(), [weak = std::weak_ptr(receiver)] {
        if (const auto held = weak.lock())
            held->deliver();
    });
}

void MacAppleEventManager::send(std::optional<std::string> directObject) {
    receiver->waiting.push_back(std::move(directObject));
    receiver->deliver();
}

} // namespace quoxelin
