// However a stream is split into reads, each line gives the notification that it decodes to. The
// first byte is the number of sizes that follow; reads take these by turns.
#include "Base/Json.h"
#include "Fuzz/Fuzzing.h"
#include "Tests/Support/InlineLink.h"

#include <vector>

namespace {

using namespace quoxelin;

class SplitConnection final : public Connection {
  public:
    SplitConnection(std::string_view bytes, std::string_view sizes) : bytes(bytes), sizes(sizes) {}

    Result<std::size_t, SystemError> read(std::span<char> into) override {
        const auto size = sizes.empty() ? into.size() : static_cast<unsigned char>(sizes[next]);
        next = sizes.empty() ? 0 : (next + 1) % sizes.size();
        const auto count = std::min({into.size(), std::max<std::size_t>(size, 1), bytes.size()});
        std::copy_n(bytes.data(), count, into.data());
        bytes.remove_prefix(count);
        return count;
    }
    Result<std::size_t, SystemError> write(std::string_view request) override {
        return request.size();
    }
    void shutdown() override { bytes = {}; }

  private:
    std::string_view bytes;
    const std::string_view sizes;
    std::size_t next = 0;
};

} // namespace

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
    testing::InlineLink([&] {
        return std::make_unique<SplitConnection>(stream, sizes);
    }).followOneStream([&](const HashiBusNotify& notify) { received.push_back(notify); });
    fuzzing::require(received == expected);
    return 0;
}
