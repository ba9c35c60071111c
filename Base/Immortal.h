#pragma once

namespace quoxelin {

/// Makes an object that is never destroyed. For shared instances, which threads may still use while
/// the process exits.
template <typename Make>
auto& immortal(Make make) {
    return *new auto(make());
}

} // namespace quoxelin
