#pragma once

#include <functional>

namespace quoxelin {

/// Reads and changes a value stored elsewhere.
template <typename T>
struct Binding {
    std::function<T()> get;
    std::function<void(T)> set;
};

} // namespace quoxelin
