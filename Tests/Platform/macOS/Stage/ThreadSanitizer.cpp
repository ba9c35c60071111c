// Tells the thread sanitizer that an object's last release, which destroys it, comes after all
// others: libobjc2 is built without it. Not in Objective-C, whose headers declare these functions
// otherwise.
#if __has_feature(thread_sanitizer)

#include <cstdint>
#include <dlfcn.h>

extern "C" void __tsan_acquire(void* place);
extern "C" void __tsan_release(void* place);

namespace {

template <typename Function>
Function* hiddenBy(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

void release(const void* object) {
    // libobjc2 keeps short strings and small numbers in the pointer itself.
    constexpr std::uintptr_t noAddress = 7;
    if (object == nullptr || (reinterpret_cast<std::uintptr_t>(object) & noAddress) != 0)
        return;
    __tsan_release(const_cast<void*>(object));
    __tsan_acquire(const_cast<void*>(object));
}

} // namespace

extern "C" void objc_release(void* object) {
    static const auto hidden = hiddenBy<void(void*)>("objc_release");
    release(object);
    hidden(object);
}

extern "C" void* objc_storeStrong(void** place, void* value) {
    static const auto hidden = hiddenBy<void*(void**, void*)>("objc_storeStrong");
    release(*place);
    return hidden(place, value);
}

extern "C" void _Block_release(const void* block) {
    static const auto hidden = hiddenBy<void(const void*)>("_Block_release");
    release(block);
    hidden(block);
}

#endif
