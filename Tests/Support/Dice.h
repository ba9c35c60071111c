#pragma once

#include "Base/Dispatch.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace quoxelin::testing {

/// Random numbers that are the same for the same seed with every standard library.
class Dice {
  public:
    explicit Dice(std::uint64_t seed) : engine(seed) {}

    std::size_t below(std::size_t limit) { return static_cast<std::size_t>(engine() % limit); }
    bool oneIn(std::size_t count) { return below(count) == 0; }
    Duration upTo(double limit) { return seconds(limit * static_cast<double>(below(1001)) / 1000); }

    template <typename T>
    const T& of(const std::vector<T>& choices) {
        return choices[below(choices.size())];
    }

  private:
    std::mt19937_64 engine;
};

} // namespace quoxelin::testing
