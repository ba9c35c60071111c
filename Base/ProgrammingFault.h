#pragma once

#include <cstdio>
#include <cstdlib>

namespace quoxelin {

/// Ends the process because of a bug in the program itself. Continuing would only hide it.
[[noreturn]] inline void programmingFault(const char* whatIsWrong) {
    std::fprintf(stderr, "programming fault: %s\n", whatIsWrong);
    std::abort();
}

} // namespace quoxelin
