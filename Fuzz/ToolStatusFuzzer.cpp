// Whatever the command-line tool prints is a status or is none; both are reported without a crash.
#include "Base/Utf8.h"
#include "Fuzz/Fuzzing.h"
#include "Runner/Shared/HashiStatus.h"

#include <cstdio>
#include <string>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quoxelin;
    static const bool isSilent = std::freopen("/dev/null", "w", stdout) != nullptr;
    fuzzing::require(isSilent);
    const std::string text(fuzzing::text(data, size));
    const auto status = stringJsonToHashiStatus(text);
    fuzzing::require(!status || isValidUtf8(text));
    return 0;
}
