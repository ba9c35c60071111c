#pragma once

#include "Runner/Views/Binding.h"
#include "View/ViewRecords.h"

namespace quoxelin {

/// The horizontal inset of a row's content, also used by texts outside rows.
inline constexpr double menuRowInset = 14;

/// The style of every clickable row in the panel.
struct MenuRowStyle {
    Binding<bool> isHovering;

    ViewNode body(ViewNode row) const;
};

/// Sets the row's width and insets without a highlight, for rows that do not follow the pointer.
ViewNode menuRowMetrics(ViewNode row);

inline ViewNode menuRowStyle(ViewNode row, Binding<bool> isHovering) {
    return MenuRowStyle{std::move(isHovering)}.body(std::move(row));
}

} // namespace quoxelin
