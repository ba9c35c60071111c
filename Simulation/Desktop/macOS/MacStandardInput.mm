#include "Simulation/Desktop/macOS/MacStandardInput.h"

#import <Foundation/Foundation.h>
#include <unistd.h>

namespace quoxelin {

struct MacStandardInput::Source {
    Source(std::function<void(std::string_view line)> take, std::function<void()> beforeWaiting)
        : lines(std::move(take)), beforeWaiting(std::move(beforeWaiting)) {
        dispatch_source_set_event_handler(source, ^{
            if (!lines.read(STDIN_FILENO))
                dispatch_source_cancel(source);
        });
        dispatch_resume(source);
        CFRunLoopAddObserver(CFRunLoopGetMain(), observer, kCFRunLoopCommonModes);
    }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;
    ~Source() {
        CFRunLoopObserverInvalidate(observer);
        CFRelease(observer);
        dispatch_source_cancel(source);
    }

    LineReader lines;
    std::function<void()> beforeWaiting;
    const dispatch_source_t source = dispatch_source_create(DISPATCH_SOURCE_TYPE_READ, STDIN_FILENO,
                                                            0, dispatch_get_main_queue());
    const CFRunLoopObserverRef observer = CFRunLoopObserverCreateWithHandler(
        nullptr, kCFRunLoopBeforeWaiting, true, 0, ^(CFRunLoopObserverRef, CFRunLoopActivity) {
            this->beforeWaiting();
        });
};

MacStandardInput::MacStandardInput(std::function<void(std::string_view line)> take,
                                   std::function<void()> beforeWaiting) {
    if (::isatty(STDIN_FILENO) == 0)
        source = std::make_unique<Source>(std::move(take), std::move(beforeWaiting));
}

MacStandardInput::~MacStandardInput() = default;

} // namespace quoxelin
