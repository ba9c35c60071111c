#pragma once

#include "Base/Subscription.h"
#include "View/ViewRecords.h"

#include <functional>
#include <vector>

namespace quoxelin {

/// Any view at all: what it looks like now, and when that may have changed.
struct AnyView {
    std::function<ViewNode()> body;
    /// Calls the observer before each change of what the view observes, until the tokens end.
    std::function<std::vector<Subscription>(const std::function<void()>& observer)>
        objectWillChange;
};

} // namespace quoxelin
