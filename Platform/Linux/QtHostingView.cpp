#include "Platform/Linux/QtHostingView.h"

#include "Platform/Linux/FocusOrder.h"
#include "View/Reconcile.h"

#include <QApplication>
#include <QEvent>
#include <QTimer>
#include <QVBoxLayout>

namespace quoxelin {

namespace {

/// Long enough for a tray to take the icon.
constexpr std::chrono::milliseconds afterStart{250};

/// Screens rarely show more than sixty pictures a second.
constexpr std::chrono::milliseconds frameTime{16};

} // namespace

/// Its first tree is shown after the start. After a later one, further ones wait for the next
/// frame.
class QtHostingView::Container final : public QWidget {
  public:
    Container() {
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        nextFrame.setSingleShot(true);
        nextFrame.callOnTimeout(this, [this] { catchUp(); });
        nextFrame.start(afterStart);
    }

    void show(const ViewNode& newTree) {
        tree = newTree;
        isBehind = true;
        if (!nextFrame.isActive())
            catchUp();
    }

    void catchUp() {
        if (!isBehind)
            return;
        isBehind = false;
        nextFrame.start(frameTime);
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
    /// Whether the widgets do not show the tree yet.
    bool isBehind = true;
    QTimer nextFrame;
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

void QtHostingView::catchUp() const {
    if (container)
        container->catchUp();
}

void QtHostingView::catchUpAll() {
    // First, because catching up makes and deletes widgets.
    std::vector<Container*> containers;
    for (auto* widget : QApplication::allWidgets())
        if (auto* container = dynamic_cast<Container*>(widget))
            containers.push_back(container);
    for (auto* container : containers)
        container->catchUp();
}

ViewNode QtHostingView::readBack() const {
    catchUp();
    return container ? container->readBack() : ViewNode{};
}

QWidget* QtHostingView::widget() {
    return container.data();
}

} // namespace quoxelin
