#pragma once

#include "Base/SymbolLookup.h"

#include <cstdint>
#include <string>
#include <vector>

namespace quoxelin {

/// Starts the executable `cmd` as root, under an authorization that the caller obtained and keeps.
/// Returns the system call's status (0 if started, otherwise an authorization error), or -1 if the
/// system has no such call. Does not wait for the tool or read its output. Any thread.
///
/// Current headers hide the call, so each use looks it up by name.
std::int32_t executeWithPrivileges(const void* authorization, const std::string& cmd,
                                   const std::vector<std::string>& arguments,
                                   const SymbolLookup& lookUp = lookUpSymbol);

} // namespace quoxelin
