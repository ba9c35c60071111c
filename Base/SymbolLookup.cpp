#include "Base/SymbolLookup.h"

#include <dlfcn.h>

namespace quoxelin {

void* lookUpSymbol(const char* name) {
    void* const program = ::dlopen(nullptr, RTLD_NOW);
    return program == nullptr ? nullptr : ::dlsym(program, name);
}

} // namespace quoxelin
