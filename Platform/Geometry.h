#pragma once

namespace quoxelin {

struct NSSize {
    double width = 0;
    double height = 0;
    bool operator==(const NSSize&) const = default;
};

/// Points on the screen, x to the right, y upwards; the origin is the lower left corner.
struct NSRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    bool operator==(const NSRect&) const = default;
};

} // namespace quoxelin
