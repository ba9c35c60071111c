// Any reply completes every operation exactly once.
#include "Fuzz/Fuzzing.h"
#include "Tests/Support/InlineLink.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quoxelin;
    if (size == 0)
        return 0;
    // Most inputs are read in large pieces, for speed.
    const std::size_t chunkSize = data[0] < 0x80 ? 16'384 : data[0] - 0x7F;
    const auto reply = fuzzing::text(data + 1, size - 1);
    testing::InlineLink link(reply, chunkSize);
    auto api = link.api();

    int completed = 0;
    const auto complete = [&](const auto& outcome) {
        ++completed;
        if (!outcome)
            fuzzing::require(!outcome.error().errorDescription().empty() &&
                             !outcome.error().debugDescription().empty());
    };
    api.getStatus(complete);
    api.getProfiles(complete);
    api.switchProfile(std::string(reply), complete);
    api.setWantRunning(true, complete);
    api.startLogin([&](const Result<std::string, LocalAPIError>& url) {
        fuzzing::require(!url || !url->empty());
        complete(url);
    });
    fuzzing::require(completed == 5);
    return 0;
}
