#pragma once

#include "View/ViewRecords.h"

#include <QColor>

class QWidget;

namespace quoxelin {

// What a leaf draws with is in its palette and its font, where the toolkit looks for it.

void showForeground(QWidget& widget, const ViewNode& node);
void readForeground(const QWidget& widget, ViewNode& node);
QColor foreground(const QWidget& widget);

void showFont(QWidget& widget, const ViewNode& node);
void readFont(const QWidget& widget, ViewNode& node);

} // namespace quoxelin
