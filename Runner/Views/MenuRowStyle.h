#pragma once

#include "Runner/Views/Binding.h"
#include "View/ViewRecords.h"

namespace quoxelin {

/// Horizontal distance between a row's edge and its content; texts that are no rows keep to it too.
inline constexpr double menuRowInset = 14;

/// The look of every clickable row of the panel.
struct MenuRowStyle {
    /// The pointer is over the row.
    Binding<bool> isHovering;

    ViewNode body(ViewNode row) const;
};

/// The row's width and distances, without a highlight: for a row that does not follow the pointer.
ViewNode menuRowMetrics(ViewNode row);

inline ViewNode menuRowStyle(ViewNode row, Binding<bool> isHovering) {
    return MenuRowStyle{std::move(isHovering)}.body(std::move(row));
}

} // namespace quoxelin
