#include "Platform/Linux/Simulation/ScreenCommands.h"

#include "Platform/Linux/Desktop.h"
#include "Platform/Linux/FloatingWindow.h"
#include "Platform/Linux/Snapshot.h"
#include "Platform/Simulated/Steering.h"
#include "Platform/Simulated/SteeringSupport.h"

#include <QAbstractButton>
#include <QLabel>
#include <algorithm>

namespace quoxelin {

using namespace steering;

namespace {

/// The window's own, in the order of reading; not those of windows that it opened.
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

std::vector<std::string> visibleTexts() {
    std::vector<std::string> texts;
    for (const auto* window : windowsOnScreen())
        for (const auto* label : visibleLabels(*window))
            texts.push_back(label->text().toStdString());
    return texts;
}

/// The name of a button for those who cannot see it, or its text.
bool isCalled(const QAbstractButton& button, const QString& label) {
    return button.accessibleName() == label || button.text() == label;
}

QAbstractButton* visibleButton(const QString& label) {
    auto windows = windowsOnScreen();
    std::reverse(windows.begin(), windows.end());
    for (const auto* window : windows)
        for (auto* button : window->findChildren<QAbstractButton*>())
            if (button->window() == window && button->isVisible() && isCalled(*button, label))
                return button;
    return nullptr;
}

void press(const std::string& label, const SteeringReply& reply) {
    auto* const button = visibleButton(QString::fromStdString(label));
    if (button == nullptr)
        return reply.fail("nothing of that label is on the screen");
    if (!button->isEnabled())
        return reply.fail("what bears that label cannot be pressed");
    button->click();
    reply.ok();
}

void saveSnapshot(const std::string& path, const SteeringReply& reply) {
    const auto picture = snapshotOfWindows();
    if (picture.isNull())
        return reply.fail("nothing is on the screen");
    if (!picture.save(QString::fromStdString(path), "PNG"))
        return reply.fail("the picture could not be written");
    reply.ok();
}

/// Null while it is not on the screen.
const FloatingWindow* visiblePanel() {
    for (const auto* window : windowsOnScreen())
        if (window->windowType() != Qt::Popup)
            if (const auto* panel = dynamic_cast<const FloatingWindow*>(window))
                return panel;
    return nullptr;
}

/// In pixels from the screen's upper left corner.
void writePlace(json::Writer& members, const QRect& place) {
    count(members, "x", static_cast<std::size_t>(std::max(0, place.x())));
    count(members, "y", static_cast<std::size_t>(std::max(0, place.y())));
    count(members, "width", static_cast<std::size_t>(place.width()));
    count(members, "height", static_cast<std::size_t>(place.height()));
}

void tellPanel(json::Writer& members) {
    const auto* const panel = visiblePanel();
    member(members, "visible", panel != nullptr);
    if (panel != nullptr)
        writePlace(members, panel->card());
}

void tellPlace(const std::string& label, const SteeringReply& reply) {
    const auto* const button = visibleButton(QString::fromStdString(label));
    if (button == nullptr)
        return reply.fail("nothing of that label is on the screen");
    const QRect place(button->mapToGlobal(QPoint(0, 0)), button->size());
    reply.ok([&](json::Writer& members) { writePlace(members, place); });
}

} // namespace

void addScreenCommands(Steering& steering, Desktop& desktop) {
    steering.addReport("text",
                       [](json::Writer& members) { member(members, "texts", visibleTexts()); });
    steering.add("press", [](SteeringReader& reader) {
        const auto label = reader.requiredText("label");
        return [label](const SteeringReply& reply) { press(label, reply); };
    });
    steering.add("snapshot", [](SteeringReader& reader) {
        const auto path = reader.requiredText("path");
        return [path](const SteeringReply& reply) { saveSnapshot(path, reply); };
    });
    steering.add("where", [](SteeringReader& reader) {
        const auto label = reader.requiredText("label");
        return [label](const SteeringReply& reply) { tellPlace(label, reply); };
    });
    steering.addReport("panel", tellPanel);
    steering.addState("panel-visible", [] { return visiblePanel() != nullptr ? 1 : 0; });
    steering.addAction("click-elsewhere", [&desktop] { desktop.clicks.pressElsewhere(); });
    steering.addAction("become-active", [&desktop] {
        desktop.notificationCenter.post(NSApplicationDidBecomeActiveNotification);
    });
    steering.addAction("quit", [&desktop] { desktop.application.terminate(); });
    steering.add("open-url", [&desktop](SteeringReader& reader) {
        const auto url = reader.text("url");
        return doing([url, &desktop] { desktop.appleEventManager.send(url); });
    });
}

} // namespace quoxelin
