#pragma once

#include <functional>

namespace quoxelin {

/// Performs the work on the main thread, on a turn of its run loop. Any thread.
///
/// Unlike the main queue, it works while a block on that queue runs a dialog's modal loop: the
/// queue performs nothing else before the block returns.
void onMainRunLoop(std::function<void()> work);

} // namespace quoxelin
