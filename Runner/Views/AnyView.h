#pragma once

#include "Base/Subscription.h"
#include "View/ViewRecords.h"

#include <functional>
#include <vector>

namespace quoxelin {

/// A type-erased view: its current tree, and a notice before each change.
struct AnyView {
    std::function<ViewNode()> body;
    /// Calls the observer before each change of the view's state, until the tokens end.
    std::function<std::vector<Subscription>(const std::function<void()>& observer)>
        objectWillChange;
};

} // namespace quoxelin
