#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

/// What the fuzzer calls with each input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace quoxelin::fuzzing {

inline std::string_view text(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// What does not hold is a finding.
inline void require(bool holds) {
    if (!holds)
        std::abort();
}

} // namespace quoxelin::fuzzing
