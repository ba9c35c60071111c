#include "Platform/Linux/MainMenu.h"

#include <QApplication>
#include <QMessageBox>

namespace quoxelin {

namespace {

void showAboutPanel() {
    auto* box = new QMessageBox;
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(QApplication::applicationDisplayName());
    box->setIconPixmap(QApplication::windowIcon().pixmap(64, 64));
    box->setText(QApplication::applicationDisplayName());
    box->setInformativeText(QApplication::applicationVersion());
    box->setModal(false);
    box->show();
}

} // namespace

std::function<void()> MainMenu::standardAction(const std::string& selector) {
    if (selector == "orderFrontStandardAboutPanel:")
        return showAboutPanel;
    if (selector == "hide:")
        return [] {
            for (auto* window : QApplication::topLevelWidgets())
                window->hide();
        };
    if (selector == "terminate:")
        return [this] { application.terminate(); };
    return nullptr;
}

void MainMenu::setItems(const std::vector<NSMenuItem>& items) {
    widget.clear();
    if (opening) {
        QObject::connect(widget.addAction("Open " + QApplication::applicationDisplayName()),
                         &QAction::triggered, &widget, opening);
        widget.addSeparator();
    }
    for (const auto& item : items) {
        if (item.title.empty()) {
            widget.addSeparator();
            continue;
        }
        const auto perform = item.target ? item.target : standardAction(item.action);
        if (!perform)
            continue;
        auto* action = widget.addAction(QString::fromStdString(item.title));
        QObject::connect(action, &QAction::triggered, action, perform);
        if (item.isEnabled)
            QObject::connect(
                &widget, &QMenu::aboutToShow, action,
                [action, isEnabled = item.isEnabled] { action->setEnabled(isEnabled()); });
    }
}

} // namespace quoxelin
