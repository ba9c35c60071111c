#pragma once

namespace quoxelin {

/// An object that is never destroyed, made by `make`. For shared instances: threads that are still
/// running when the process exits may go on using them.
template <typename Make>
auto& immortal(Make make) {
    return *new auto(make());
}

} // namespace quoxelin
