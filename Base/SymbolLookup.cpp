#include "Base/SymbolLookup.h"

#include <dlfcn.h>

namespace quoxelin {

void* lookUpSymbol(const char* name) {
    // Not closed: the handle only counts the users of the program, which stays loaded.
    void* const program = ::dlopen(nullptr, RTLD_NOW);
    return program == nullptr ? nullptr : ::dlsym(program, name);
}

} // namespace quoxelin
