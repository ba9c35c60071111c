// The addresses that the panel shows are pieces of the text, of the right kind and without commas.
#include "Fuzz/Fuzzing.h"
#include "Runner/Views/QuoxelinMenuBarContent.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quoxelin;
    const auto text = fuzzing::text(data, size);
    const auto [ipv4, ipv6] = QuoxelinMenuBarContent::splitIPs(text);
    for (const auto& piece : {ipv4, ipv6})
        fuzzing::require(!piece ||
                         (text.find(*piece) != text.npos && piece->find(',') == text.npos));
    fuzzing::require(!ipv4 || (ipv4->find('.') != text.npos && ipv4->find(':') == text.npos));
    fuzzing::require(!ipv6 || ipv6->find(':') != text.npos);
    fuzzing::require(ipv6.has_value() == (text.find(':') != text.npos));
    return 0;
}
