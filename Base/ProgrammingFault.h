#pragma once

#include <cstdio>
#include <cstdlib>

namespace quoxelin {

/// Ends the process: the program's own code broke a promise, and going on would only hide it.
[[noreturn]] inline void programmingFault(const char* whatIsWrong) {
    std::fprintf(stderr, "programming fault: %s\n", whatIsWrong);
    std::abort();
}

} // namespace quoxelin
