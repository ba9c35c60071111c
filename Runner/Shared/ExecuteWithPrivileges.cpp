#include "Runner/Shared/ExecuteWithPrivileges.h"

#include <cstdio>

namespace quoxelin {

namespace {

/// The signature in the system's headers.
using AuthorizationExecuteWithPrivileges = std::int32_t (*)(const void* authorization,
                                                            const char* pathToTool,
                                                            std::uint32_t options,
                                                            char* const* arguments,
                                                            std::FILE** communicationsPipe);

} // namespace

std::int32_t executeWithPrivileges(const void* authorization, const std::string& cmd,
                                   const std::vector<std::string>& arguments,
                                   const SymbolLookup& lookUp) {
    void* const symbol = lookUp("AuthorizationExecuteWithPrivileges");
    if (symbol == nullptr) {
        std::puts("Failed to find AuthorizationExecuteWithPrivileges");
        return -1;
    }
    // The call may modify its arguments, so pass copies.
    auto copies = arguments;
    std::vector<char*> vector;
    vector.reserve(copies.size() + 1);
    for (auto& copy : copies)
        vector.push_back(copy.data());
    vector.push_back(nullptr);
    const auto call = reinterpret_cast<AuthorizationExecuteWithPrivileges>(symbol);
    return call(authorization, cmd.c_str(), 0, vector.data(), nullptr);
}

} // namespace quoxelin
