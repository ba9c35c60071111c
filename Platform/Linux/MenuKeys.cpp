#include "Platform/Linux/MenuKeys.h"

#include "Platform/Linux/ScrollView.h"

#include <QWidget>
#include <algorithm>
#include <vector>

namespace quoxelin {

namespace {

bool isRow(const QWidget& widget, const QWidget& window) {
    return widget.window() == &window && (widget.focusPolicy() & Qt::TabFocus) != 0 &&
           widget.isVisible() && widget.isEnabled();
}

/// In the order of Tab.
std::vector<QWidget*> rowsOf(QWidget& window) {
    std::vector<QWidget*> rows;
    for (auto* each = window.nextInFocusChain(); each != &window; each = each->nextInFocusChain())
        if (isRow(*each, window))
            rows.push_back(each);
    return rows;
}

/// How much of the rows around this one is in view.
int pageAround(const QWidget& row, const QWidget& window) {
    for (auto* parent = row.parentWidget(); parent != nullptr; parent = parent->parentWidget())
        if (const auto* view = dynamic_cast<const ScrollView*>(parent))
            return view->viewport()->height();
    return window.height();
}

using Position = std::ptrdiff_t;

/// The row that lies a page away; the first or last row if there is none.
Position afterPage(const std::vector<QWidget*>& rows, Position current, int direction,
                   QWidget& window) {
    const auto top = [&](Position row) {
        return rows[static_cast<std::size_t>(row)]->mapTo(&window, QPoint(0, 0)).y();
    };
    const auto& row = *rows[static_cast<std::size_t>(current)];
    const int distance = std::max(row.height(), pageAround(row, window) - row.height());
    const auto start = top(current);
    auto next = current;
    const auto last = direction > 0 ? static_cast<Position>(rows.size()) - 1 : 0;
    while (next != last && std::abs(top(next + direction) - start) <= distance)
        next += direction;
    // A row that is higher than a page.
    return next == current && next != last ? next + direction : next;
}

} // namespace

bool moveFocusAsInMenu(QWidget& window, int key) {
    const auto rows = rowsOf(window);
    if (rows.empty())
        return false;
    const auto count = static_cast<Position>(rows.size());
    const auto found = std::find(rows.begin(), rows.end(), window.focusWidget());
    // Until a row has the focus, a key enters at the end that it comes from.
    const bool isInside = found != rows.end();
    const Position current = isInside ? found - rows.begin() : 0;
    Position next = 0;
    switch (key) {
    case Qt::Key_Down:
        next = isInside ? (current + 1) % count : 0;
        break;
    case Qt::Key_Up:
        next = current == 0 ? count - 1 : current - 1;
        break;
    case Qt::Key_Home:
        next = 0;
        break;
    case Qt::Key_End:
        next = count - 1;
        break;
    case Qt::Key_PageDown:
        next = isInside ? afterPage(rows, current, 1, window) : 0;
        break;
    case Qt::Key_PageUp:
        next = isInside ? afterPage(rows, current, -1, window) : count - 1;
        break;
    default:
        return false;
    }
    rows[static_cast<std::size_t>(next)]->setFocus(next < current ? Qt::BacktabFocusReason
                                                                  : Qt::TabFocusReason);
    return true;
}

} // namespace quoxelin
