#include "Platform/Linux/AlertBox.h"

#include "Platform/Linux/FloatingWindow.h"
#include "Platform/Linux/ScreenGeometry.h"
#include "Platform/Linux/Symbols.h"
#include "Platform/Linux/Theme.h"

#include <QApplication>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <algorithm>

namespace quoxelin {

namespace {

QMessageBox::ButtonRole toolkitRole(Alert::Button::Role role) {
    switch (role) {
    case Alert::Button::Role::destructive:
        return QMessageBox::DestructiveRole;
    case Alert::Button::Role::cancel:
        return QMessageBox::RejectRole;
    }
    return QMessageBox::InvalidRole;
}

QPixmap warningSign(qreal ratio) {
    constexpr int side = 40;
    QPixmap pixmap(QSize(side, side) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    drawSymbol(painter, "exclamationmark.triangle.fill", QRectF(0, 0, side, side),
               Theme().color(Color::orange));
    return pixmap;
}

} // namespace

AlertBox::AlertBox(QWidget& anchor) : anchor(anchor), box(anchor.window()) {
    box.setTextFormat(Qt::RichText);
    box.setIconPixmap(warningSign(box.devicePixelRatioF()));
    QObject::connect(&box, &QMessageBox::buttonClicked, &box, [this](QAbstractButton* pressed) {
        const auto index = static_cast<std::size_t>(pressed->property("index").toInt());
        if (index < actions.size())
            if (const auto action = actions[index])
                action();
    });
}

void AlertBox::bind(const Alert& record) {
    box.setWindowTitle(QString::fromStdString(record.title));
    box.setText("<b>" + QString::fromStdString(record.title).toHtmlEscaped() + "</b>");
    box.setInformativeText(QString::fromStdString(record.message));
    bindButtons(record);
    present();
}

void AlertBox::bindButtons(const Alert& record) {
    const auto& buttons = record.buttons;
    if (!haveSameButtons(readBack(), record)) {
        for (auto* button : box.buttons())
            box.removeButton(button);
        for (std::size_t i = 0; i < buttons.size(); ++i) {
            auto* button = box.addButton(QString::fromStdString(buttons[i].title),
                                         toolkitRole(buttons[i].role));
            button->setProperty("index", static_cast<int>(i));
            if (buttons[i].role == Alert::Button::Role::cancel) {
                box.setEscapeButton(button);
                box.setDefaultButton(button);
            }
        }
    }
    actions.clear();
    for (const auto& button : buttons)
        actions.push_back(button.action);
}

Alert AlertBox::readBack() const {
    Alert record{box.windowTitle().toStdString(), box.informativeText().toStdString(), {}};
    auto buttons = box.buttons();
    std::sort(buttons.begin(), buttons.end(), [](const auto* a, const auto* b) {
        return a->property("index").toInt() < b->property("index").toInt();
    });
    for (auto* button : buttons)
        record.buttons.push_back({button->text().toStdString(),
                                  box.buttonRole(button) == QMessageBox::DestructiveRole
                                      ? Alert::Button::Role::destructive
                                      : Alert::Button::Role::cancel,
                                  nullptr});
    return record;
}

void AlertBox::present() {
    if (box.isVisible() || !anchor.window()->isVisible())
        return;
    // An open popover grabs the mouse.
    while (auto* popup = QApplication::activePopupWidget())
        popup->close();
    box.open();
    // On a layer shell, what is above what is up to the compositor.
    const auto* owner = dynamic_cast<const FloatingWindow*>(anchor.window());
    if (owner != nullptr && LayerShell::instance() != nullptr)
        box.move(placeBeside(owner->card(), owner->card().top(), box.size()));
}

} // namespace quoxelin
