#include "Platform/Linux/QtHostingView.h"

#include "Platform/Linux/FocusOrder.h"
#include "View/Reconcile.h"

#include <QEvent>
#include <QTimer>
#include <QVBoxLayout>

namespace quoxelin {

namespace {

/// Long enough for a tray to take the icon. The first click finds the widgets ready.
constexpr std::chrono::milliseconds startTime{250};

} // namespace

class QtHostingView::Container final : public QWidget {
  public:
    Container() {
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        QTimer::singleShot(startTime, this, [this] { make(); });
    }

    void show(const ViewNode& newTree) {
        tree = newTree;
        if (root)
            rebind();
    }

    void make() {
        if (!root)
            rebind();
    }

    ViewNode readBack() const { return root->readBack(); }

  protected:
    void showEvent(QShowEvent* event) override {
        QWidget::showEvent(event);
        if (root)
            root->windowDidShow();
    }

    void hideEvent(QHideEvent* event) override {
        QWidget::hideEvent(event);
        if (root)
            root->windowDidHide();
    }

    /// Colors and fonts depend on the desktop's.
    void changeEvent(QEvent* event) override {
        QWidget::changeEvent(event);
        if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange)
            if (root)
                rebind();
    }

  private:
    void rebind() {
        reconcileRoot(root, tree,
                      [this](ElementView& view) { layout()->addWidget(&view.widget()); });
        setFocusOrder(*root);
    }

    ViewNode tree;
    std::unique_ptr<ElementView> root;
};

QtHostingView::QtHostingView() : container(new Container) {}

QtHostingView::~QtHostingView() {
    if (container && container->parent() == nullptr)
        delete container.data();
}

void QtHostingView::setRootView(const ViewNode& tree) {
    if (container)
        container->show(tree);
}

void QtHostingView::makeWidgets() const {
    if (container)
        container->make();
}

ViewNode QtHostingView::readBack() const {
    makeWidgets();
    return container ? container->readBack() : ViewNode{};
}

QWidget* QtHostingView::widget() {
    return container.data();
}

} // namespace quoxelin
