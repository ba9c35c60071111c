#pragma once

#include "Base/Dispatch.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <string_view>
#include <vector>

namespace quoxelin::testing {

/// Random numbers that are the same for the same seed with every standard library, or those that a
/// fuzzer chose, two bytes each.
class Dice {
  public:
    explicit Dice(std::uint64_t seed) : engine(seed) {}
    explicit Dice(std::string_view chosen) : chosen(chosen) {}

    std::size_t below(std::size_t limit) {
        if (!chosen)
            return static_cast<std::size_t>(engine() % limit);
        std::size_t number = 0;
        for (int i = 0; i < 2 && !chosen->empty(); ++i, chosen->remove_prefix(1))
            number = number << 8 | static_cast<unsigned char>(chosen->front());
        return number % limit;
    }
    /// From here on all chosen numbers are zero.
    bool areUsedUp() const { return chosen && chosen->empty(); }
    bool oneIn(std::size_t count) { return below(count) == 0; }
    Duration upTo(double limit) { return seconds(limit * static_cast<double>(below(1001)) / 1000); }

    template <typename T>
    const T& of(const std::vector<T>& choices) {
        return choices[below(choices.size())];
    }

  private:
    std::mt19937_64 engine;
    std::optional<std::string_view> chosen;
};

} // namespace quoxelin::testing
