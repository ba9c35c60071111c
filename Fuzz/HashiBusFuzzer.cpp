// However a stream is split into reads, each line gives the notification that it decodes to. The
// first byte is the number of sizes that follow; reads take these by turns.
#include "Base/Json.h"
#include "Fuzz/Fuzzing.h"
#include "Tests/Support/InlineLink.h"

#include <vector>

using namespace quoxelin;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size <= data[0])
        return 0;
    const auto sizes = fuzzing::text(data + 1, data[0]);
    const auto stream = fuzzing::text(data + 1 + sizes.size(), size - 1 - sizes.size());

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
    std::size_t reads = 0;
    const auto nextSize = [&]() -> std::size_t {
        return sizes.empty() ? stream.size()
                             : static_cast<unsigned char>(sizes[reads++ % sizes.size()]);
    };
    testing::InlineLink([&] {
        return std::make_unique<testing::RecitingConnection>(stream, nextSize);
    }).followOneStream([&](const HashiBusNotify& notify) { received.push_back(notify); });
    fuzzing::require(received == expected);
    return 0;
}
