#include "Runner/Shared/Uuid.h"

#include <array>
#include <cstdint>
#include <fmt/format.h>
#include <random>

namespace quoxelin {

std::string freshUuid() {
    std::random_device source;
    std::array<std::uint32_t, 4> bits{};
    for (auto& word : bits)
        word = source();
    bits[1] = (bits[1] & 0xFFFF0FFFU) | 0x00004000U; // version 4: random
    bits[2] = (bits[2] & 0x3FFFFFFFU) | 0x80000000U; // the variant of RFC 4122
    return fmt::format("{:08X}-{:04X}-{:04X}-{:04X}-{:04X}{:08X}", bits[0], bits[1] >> 16,
                       bits[1] & 0xFFFFU, bits[2] >> 16, bits[2] & 0xFFFFU, bits[3]);
}

} // namespace quoxelin
