#include "Simulation/Desktop/Linux/QtScreen.h"

#include "Platform/Linux/Desktop.h"
#include "Platform/Linux/FloatingWindow.h"
#include "Platform/Linux/QtHostingView.h"
#include "Platform/Linux/Snapshot.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <algorithm>

namespace quoxelin {

namespace {

/// Shows what the application wants shown. The screen could be a frame behind.
void catchUp() {
    QtHostingView::catchUpAll();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
}

/// The window's labels in reading order, without those of windows that it opened.
std::vector<const QLabel*> visibleLabels(const QWidget& window) {
    std::vector<const QLabel*> labels;
    for (const auto* label : window.findChildren<QLabel*>())
        if (label->window() == &window && label->isVisible() && !label->text().isEmpty())
            labels.push_back(label);
    const auto place = [&](const QLabel* label) {
        const auto corner = label->mapTo(&window, QPoint(0, 0));
        return std::pair(corner.y(), corner.x());
    };
    std::stable_sort(labels.begin(), labels.end(), [&](const auto* first, const auto* second) {
        return place(first) < place(second);
    });
    return labels;
}

/// Whether the button has this accessible name or text.
bool isCalled(const QAbstractButton& button, const QString& label) {
    return button.accessibleName() == label || button.text() == label;
}

QAbstractButton* visibleButton(const QString& label) {
    catchUp();
    auto windows = windowsOnScreen();
    std::reverse(windows.begin(), windows.end());
    for (const auto* window : windows)
        for (auto* button : window->findChildren<QAbstractButton*>())
            if (button->window() == window && button->isVisible() && isCalled(*button, label))
                return button;
    return nullptr;
}

/// Null while the panel is hidden.
const FloatingWindow* visiblePanel() {
    for (const auto* window : windowsOnScreen())
        if (window->windowType() != Qt::Popup)
            if (const auto* panel = dynamic_cast<const FloatingWindow*>(window))
                return panel;
    return nullptr;
}

NSRect toRecord(const QRect& place) {
    return {static_cast<double>(place.x()), static_cast<double>(place.y()),
            static_cast<double>(place.width()), static_cast<double>(place.height())};
}

} // namespace

std::vector<std::string> QtScreen::texts() const {
    catchUp();
    std::vector<std::string> texts;
    for (const auto* window : windowsOnScreen())
        for (const auto* label : visibleLabels(*window))
            texts.push_back(label->text().toStdString());
    for (const auto* window : QApplication::topLevelWidgets())
        if (const auto* tip = qobject_cast<const QLabel*>(window); tip && tip->isVisible())
            texts.push_back(tip->text().toStdString());
    return texts;
}

QtScreen::Press QtScreen::press(const std::string& label) {
    auto* const button = visibleButton(QString::fromStdString(label));
    if (button == nullptr)
        return Press::absent;
    if (!button->isEnabled())
        return Press::disabled;
    button->click();
    return Press::done;
}

std::optional<NSRect> QtScreen::placeOf(const std::string& label) const {
    const auto* const button = visibleButton(QString::fromStdString(label));
    if (button == nullptr)
        return std::nullopt;
    return toRecord(QRect(button->mapToGlobal(QPoint(0, 0)), button->size()));
}

std::optional<NSRect> QtScreen::panel() const {
    catchUp();
    const auto* const shown = visiblePanel();
    if (shown == nullptr)
        return std::nullopt;
    return toRecord(shown->card());
}

QtScreen::Picture QtScreen::savePicture(const std::string& path) const {
    catchUp();
    const auto picture = snapshotOfWindows();
    if (picture.isNull())
        return Picture::empty;
    return picture.save(QString::fromStdString(path), "PNG") ? Picture::saved : Picture::failed;
}

void QtScreen::pressElsewhere() {
    desktop.clicks.pressElsewhere();
}

} // namespace quoxelin
