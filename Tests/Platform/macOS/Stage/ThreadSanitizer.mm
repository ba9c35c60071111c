// Tells the thread sanitizer in which order libdispatch and libobjc2 do their work: they are built
// without it.
#if __has_feature(thread_sanitizer)

#import <Foundation/Foundation.h>
#include <dlfcn.h>
#include <memory>
#include <string_view>

extern "C" void __tsan_acquire(void* place);
extern "C" void __tsan_release(void* place);

namespace {

template <typename Function> Function next(Function, const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

/// The function that the one with this name hides.
#define NEXT(function)                                                                             \
    []() {                                                                                         \
        static const auto hidden = next(&function, #function);                                     \
        return hidden;                                                                             \
    }()

/// A submitted block. What happened before the call happens before the block; and, on a serial
/// queue, so does the block before it.
struct Submitted {
    dispatch_block_t block;
    void* serialQueue;
    void* group;
};

bool isSerial(dispatch_queue_t queue) {
    return std::string_view(dispatch_queue_get_label(queue)).rfind("com.apple.root.", 0) != 0;
}

void* submitted(dispatch_queue_t queue, dispatch_block_t block, void* group = nullptr) {
    auto* const made = new Submitted{[block copy], isSerial(queue) ? queue : nullptr, group};
    __tsan_release(made);
    return made;
}

void perform(void* context) {
    __tsan_acquire(context);
    const std::unique_ptr<Submitted> work(static_cast<Submitted*>(context));
    if (work->serialQueue != nullptr)
        __tsan_acquire(work->serialQueue);
    work->block();
    work->block = nil;
    if (work->serialQueue != nullptr)
        __tsan_release(work->serialQueue);
    if (work->group != nullptr)
        __tsan_release(work->group);
}

/// The block of a source.
void handle(void* context) {
    __tsan_acquire(context);
    static_cast<Submitted*>(context)->block();
}

} // namespace

void dispatch_async(dispatch_queue_t queue, dispatch_block_t block) {
    dispatch_async_f(queue, submitted(queue, block), perform);
}

void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block) {
    dispatch_after_f(when, queue, submitted(queue, block), perform);
}

void dispatch_group_async(dispatch_group_t group, dispatch_queue_t queue, dispatch_block_t block) {
    dispatch_group_async_f(group, queue, submitted(queue, block, group), perform);
}

void dispatch_source_set_event_handler(dispatch_source_t source, dispatch_block_t block) {
    auto* const lasting = new Submitted{[block copy], nullptr, nullptr};
    __tsan_release(lasting);
    dispatch_set_context(source, lasting);
    dispatch_source_set_event_handler_f(source, handle);
}

void dispatch_group_leave(dispatch_group_t group) {
    __tsan_release(group);
    NEXT(dispatch_group_leave)(group);
}

intptr_t dispatch_group_wait(dispatch_group_t group, dispatch_time_t timeout) {
    const auto outcome = NEXT(dispatch_group_wait)(group, timeout);
    __tsan_acquire(group);
    return outcome;
}

intptr_t dispatch_semaphore_signal(dispatch_semaphore_t semaphore) {
    __tsan_release(semaphore);
    return NEXT(dispatch_semaphore_signal)(semaphore);
}

intptr_t dispatch_semaphore_wait(dispatch_semaphore_t semaphore, dispatch_time_t timeout) {
    const auto outcome = NEXT(dispatch_semaphore_wait)(semaphore, timeout);
    __tsan_acquire(semaphore);
    return outcome;
}

#endif
