#pragma once

#include <functional>

namespace quoxelin {

/// Finds a function by name in the running program and its loaded libraries. Null if there is none.
using SymbolLookup = std::function<void*(const char* name)>;

/// Asks the dynamic loader.
void* lookUpSymbol(const char* name);

} // namespace quoxelin
