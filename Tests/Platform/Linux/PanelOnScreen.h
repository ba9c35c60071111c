#pragma once

#include "Platform/Linux/ClickWatch.h"
#include "Platform/Linux/FloatingWindow.h"
#include "Platform/Linux/QtHostingView.h"
#include "Platform/Linux/QtPanels.h"
#include "Tests/Platform/Linux/EventLoop.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <memory>

namespace quoxelin::testing {

/// A panel on the screen, as the application opens it.
class PanelOnScreen {
  public:
    explicit PanelOnScreen(const ViewNode& tree, bool opens = true) {
        NSPanelOptions options;
        options.contentRect = {0, 0, 300, 400};
        options.hasShadow = true;
        options.level = NSFloatingWindowLevel;
        options.title = "Quoxelin";
        panel = panels.makePanel(options);
        hosting = std::static_pointer_cast<QtHostingView>(panels.makeHostingView());
        NSVisualEffectView background;
        background.cornerRadius = 10;
        background.subview = hosting;
        panel->setContentView(background);
        hosting->setRootView(tree);
        if (opens) {
            panel->setFrameOrigin(100, 100);
            panel->makeKeyAndOrderFront();
        }
        runLoopUntilIdle();
    }

    void show(const ViewNode& tree) {
        hosting->setRootView(tree);
        hosting->catchUp();
        runLoopUntilIdle();
    }

    ViewNode readBack() const { return hosting->readBack(); }
    NSPanel& nsPanel() { return *panel; }
    QWidget& window() { return *hosting->widget()->window(); }

    /// The visible cards: the panel and its popovers.
    std::vector<FloatingWindow*> cards() {
        std::vector<FloatingWindow*> found;
        for (auto* widget : QApplication::topLevelWidgets())
            if (auto* card = dynamic_cast<FloatingWindow*>(widget); card && card->isVisible())
                found.push_back(card);
        return found;
    }

    FloatingWindow* popover() {
        for (auto* card : cards())
            if (card != &window())
                return card;
        return nullptr;
    }

    QMessageBox* alert() {
        for (auto* widget : QApplication::topLevelWidgets())
            if (auto* box = qobject_cast<QMessageBox*>(widget); box && box->isVisible())
                return box;
        return nullptr;
    }

    /// The row with that label, wherever it is shown.
    QAbstractButton* row(const QString& label) {
        for (auto* card : cards())
            for (auto* button : card->findChildren<QAbstractButton*>())
                if (button->accessibleName() == label)
                    return button;
        return nullptr;
    }

  private:
    ClickWatch clicks;
    QtPanels panels{clicks};
    std::shared_ptr<QtHostingView> hosting;
    std::unique_ptr<NSPanel> panel;
};

} // namespace quoxelin::testing
