// However a stream is split into reads, each line gives the notification that it decodes to.
#include "Base/Json.h"
#include "Fuzz/Fuzzing.h"
#include "Tests/Support/InlineLink.h"

#include <vector>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quoxelin;
    if (size == 0)
        return 0;
    const std::size_t chunkSize = data[0];
    const auto stream = fuzzing::text(data + 1, size - 1);

    std::vector<HashiBusNotify> expected;
    if (const auto separator = stream.find("\r\n\r\n"); separator != std::string_view::npos) {
        auto rest = stream.substr(separator + 4);
        for (auto end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
            if (auto notify = json::decode<HashiBusNotify>(rest.substr(0, end)))
                expected.push_back(*std::move(notify));
            rest.remove_prefix(end + 1);
        }
    }

    std::vector<HashiBusNotify> received;
    testing::InlineLink(stream, chunkSize).followOneStream([&](const HashiBusNotify& notify) {
        received.push_back(notify);
    });
    fuzzing::require(received == expected);
    return 0;
}
