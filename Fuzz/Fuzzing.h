#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

/// Called by the fuzzer for each input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace quoxelin::fuzzing {

inline std::string_view text(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// Reports a finding if the condition does not hold.
inline void require(bool holds) {
    if (!holds)
        std::abort();
}

} // namespace quoxelin::fuzzing
