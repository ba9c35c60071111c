#include "Runner/Views/MenuRowStyle.h"

namespace quoxelin {

ViewNode menuRowMetrics(ViewNode row) {
    row.fillsWidth = true;
    row.alignment = Alignment::leading;
    row.padding = {6, menuRowInset, 6, menuRowInset};
    row.cornerRadius = 6;
    return row;
}

ViewNode MenuRowStyle::body(ViewNode row) const {
    row = menuRowMetrics(std::move(row));
    if (isHovering.get()) {
        row.background = Color::gray;
        row.backgroundOpacity = 0.12;
    }
    row.onHover = isHovering.set;
    return row;
}

} // namespace quoxelin
