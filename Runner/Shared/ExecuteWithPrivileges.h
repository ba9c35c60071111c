#pragma once

#include "Base/SymbolLookup.h"

#include <cstdint>
#include <string>
#include <vector>

namespace quoxelin {

/// Starts the executable `cmd` as root, under an authorization that the caller obtained from the
/// system and goes on to own. Returns the system call's status (0: started, else an error of the
/// authorization services), or -1 when the system offers no such call. Does not wait for the tool,
/// whose output is not read. Any thread.
///
/// Current headers hide the call, so it is looked up by its name whenever it is needed.
std::int32_t executeWithPrivileges(const void* authorization, const std::string& cmd,
                                   const std::vector<std::string>& arguments,
                                   const SymbolLookup& lookUp = lookUpSymbol);

} // namespace quoxelin
