#include "Platform/Linux/QtHostingView.h"

#include "Platform/Linux/FocusOrder.h"
#include "View/Reconcile.h"

#include <QEvent>
#include <QVBoxLayout>

namespace quoxelin {

class QtHostingView::Container final : public QWidget {
  public:
    Container() {
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
    }

    void show(const ViewNode& newTree) {
        tree = newTree;
        rebind();
    }

    ViewNode readBack() const { return root ? root->readBack() : ViewNode{}; }

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

ViewNode QtHostingView::readBack() const {
    return container ? container->readBack() : ViewNode{};
}

QWidget* QtHostingView::widget() {
    return container.data();
}

} // namespace quoxelin
