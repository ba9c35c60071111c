#include "Platform/Linux/Services/UpdateWindow.h"

#include <QApplication>
#include <QPushButton>
#include <utility>

namespace quoxelin {

UpdateWindow::UpdateWindow() {
    box.setWindowTitle(QApplication::applicationDisplayName());
    box.setIconPixmap(QApplication::windowIcon().pixmap(48, 48));
    box.setTextFormat(Qt::PlainText);
    box.setWindowModality(Qt::NonModal);
    QObject::connect(&box, &QDialog::finished, &box, [this] {
        const auto* pressed = box.clickedButton();
        const bool leadsOn =
            pressed != nullptr &&
            box.buttonRole(const_cast<QAbstractButton*>(pressed)) == QMessageBox::AcceptRole;
        const auto chosen =
            leadsOn ? std::exchange(onAction, nullptr) : std::exchange(onDismissal, nullptr);
        if (chosen)
            chosen();
    });
}

void UpdateWindow::show(const Content& content) {
    box.setText(content.text);
    box.setInformativeText(content.details);
    for (auto* button : box.buttons()) {
        box.removeButton(button);
        button->deleteLater();
    }
    if (!content.action.isEmpty())
        box.setDefaultButton(box.addButton(content.action, QMessageBox::AcceptRole));
    box.setEscapeButton(box.addButton(content.dismissal, QMessageBox::RejectRole));
    onAction = content.onAction;
    onDismissal = content.onDismissal;
    box.show();
    box.raise();
    box.activateWindow();
}

} // namespace quoxelin
