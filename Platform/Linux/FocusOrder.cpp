#include "Platform/Linux/FocusOrder.h"

#include "Platform/Linux/ElementView.h"

#include <QWidget>

namespace quoxelin {

void setFocusOrder(ElementView& root) {
    std::vector<QWidget*> rows;
    root.collectReadable(rows);
    std::erase_if(rows, [](const auto* each) { return each->focusPolicy() == Qt::NoFocus; });
    for (std::size_t i = 1; i < rows.size(); ++i)
        QWidget::setTabOrder(rows[i - 1], rows[i]);
}

} // namespace quoxelin
