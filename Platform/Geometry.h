#pragma once

namespace quoxelin {

struct NSSize {
    double width = 0;
    double height = 0;
    bool operator==(const NSSize&) const = default;
};

/// A rectangle on the screen in points. The origin is the lower left corner; y points up.
struct NSRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    bool operator==(const NSRect&) const = default;
};

} // namespace quoxelin
