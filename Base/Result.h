#pragma once

#include <functional>
#include <tl/expected.hpp>

namespace quoxelin {

/// A value, or the reason why there is none. Nothing is thrown across a service boundary.
template <typename T, typename E>
using Result = tl::expected<T, E>;

/// Receives the outcome of an asynchronous operation, exactly once. The operation states the
/// thread.
template <typename T, typename E>
using Completion = std::function<void(Result<T, E>)>;

} // namespace quoxelin
