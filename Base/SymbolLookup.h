#pragma once

#include <functional>

namespace quoxelin {

/// Finds a function that the running program offers under that name, its own or a loaded
/// library's; null when there is none.
using SymbolLookup = std::function<void*(const char* name)>;

/// Asks the dynamic loader.
void* lookUpSymbol(const char* name);

} // namespace quoxelin
