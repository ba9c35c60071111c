#include "Platform/Linux/Services/LibNM.h"

#include <dlfcn.h>

namespace quoxelin {

namespace {

template <typename Function>
bool find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
}

std::string lastError() {
    const char* text = dlerror();
    return text == nullptr ? "unknown error" : text;
}

} // namespace

std::string loadLibNM() {
    static bool isLoaded = false;
    if (isLoaded)
        return {};
    // It stays for good, as GLib's types cannot be removed.
    void* const library = dlopen("libnm.so.0", RTLD_NOW | RTLD_NODELETE);
    if (library == nullptr)
        return lastError();
#define QUOXELIN_FIND(name) find(library, #name, name)&&
    isLoaded = QUOXELIN_FUNCTIONS_OF_LIBNM(QUOXELIN_FIND) true;
#undef QUOXELIN_FIND
    return isLoaded ? "" : lastError();
}

} // namespace quoxelin
