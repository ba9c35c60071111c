#pragma once

#include <functional>

namespace quoxelin {

/// A value that lives elsewhere: how to read it, and how to change it.
template <typename T>
struct Binding {
    std::function<T()> get;
    std::function<void(T)> set;
};

} // namespace quoxelin
