#include "Platform/Linux/AccessibleElements.h"

#include "Platform/Linux/ContainerViews.h"
#include "Platform/Linux/FloatingWindow.h"
#include "Platform/Linux/TextView.h"

#include <QAccessibleWidget>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <algorithm>

namespace quoxelin {

namespace {

/// The texts and rows in a card, or in a part of it, in reading order.
void collectReadable(QWidget& widget, std::vector<QWidget*>& found) {
    if (auto* element = dynamic_cast<ElementView*>(&widget)) {
        element->collectReadable(found);
        return;
    }
    for (auto* child : widget.children())
        if (auto* part = qobject_cast<QWidget*>(child); part != nullptr && !part->isWindow())
            collectReadable(*part, found);
}

/// The popover, which the toolkit leaves out.
void collectPopovers(const QWidget& card, std::vector<QWidget*>& found) {
    for (auto* child : card.children())
        if (auto* popover = dynamic_cast<FloatingWindow*>(child); popover && popover->isVisible())
            found.push_back(popover);
}

class AccessibleCard final : public QAccessibleWidget {
  public:
    explicit AccessibleCard(FloatingWindow& card)
        : QAccessibleWidget(&card, isPopover(card) ? QAccessible::Dialog : QAccessible::Window) {}

    int childCount() const override { return static_cast<int>(children().size()); }

    QAccessibleInterface* child(int index) const override {
        const auto all = children();
        return index < 0 || static_cast<std::size_t>(index) >= all.size()
                   ? nullptr
                   : QAccessible::queryAccessibleInterface(all[static_cast<std::size_t>(index)]);
    }

    int indexOfChild(const QAccessibleInterface* child) const override {
        const auto all = children();
        const auto found = std::find(all.begin(), all.end(), child->object());
        return found == all.end() ? -1 : static_cast<int>(found - all.begin());
    }

    QAccessibleInterface* parent() const override {
        return isPopover(*widget())
                   ? QAccessible::queryAccessibleInterface(widget()->parentWidget())
                   : QAccessibleWidget::parent();
    }

  private:
    static bool isPopover(const QWidget& card) {
        return dynamic_cast<FloatingWindow*>(card.parentWidget()) != nullptr;
    }

    std::vector<QWidget*> children() const {
        std::vector<QWidget*> found;
        collectReadable(*widget(), found);
        collectPopovers(*widget(), found);
        return found;
    }
};

/// A text or a row. What is in a row only repeats its name.
class AccessibleLeaf : public QAccessibleWidget {
  public:
    using QAccessibleWidget::QAccessibleWidget;

    int childCount() const override { return 0; }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessibleInterface* parent() const override {
        return QAccessible::queryAccessibleInterface(widget()->window());
    }
};

class AccessibleText final : public AccessibleLeaf {
  public:
    explicit AccessibleText(TextView& text) : AccessibleLeaf(&text, QAccessible::StaticText) {}

    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Name ? static_cast<const QLabel*>(widget())->text()
                                         : AccessibleLeaf::text(kind);
    }
};

class AccessibleRow final : public AccessibleLeaf {
  public:
    explicit AccessibleRow(RowView& row) : AccessibleLeaf(&row, QAccessible::Button), row(row) {}

    QAccessible::State state() const override {
        auto state = AccessibleLeaf::state();
        if (row.hasPopover()) {
            state.hasPopup = true;
            state.expandable = true;
            state.expanded = row.isExpanded();
            state.collapsed = !row.isExpanded();
        }
        return state;
    }

    QStringList actionNames() const override {
        auto names = AccessibleLeaf::actionNames();
        if (row.isEnabled())
            names.prepend(pressAction());
        return names;
    }

    void doAction(const QString& name) override {
        if (name == pressAction())
            row.click();
        else
            AccessibleLeaf::doAction(name);
    }

  private:
    RowView& row;
};

QAccessibleInterface* makeInterface(const QString&, QObject* object) {
    if (auto* card = dynamic_cast<FloatingWindow*>(object))
        return new AccessibleCard(*card);
    if (auto* text = dynamic_cast<TextView*>(object))
        return new AccessibleText(*text);
    if (auto* row = dynamic_cast<RowView*>(object))
        return new AccessibleRow(*row);
    return nullptr;
}

} // namespace

void describeElementsToAssistiveTechnology() {
    QAccessible::installFactory(makeInterface);
}

void announce(QWidget& widget, const QString& text) {
    if (!QAccessible::isActive())
        return;
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    QAccessibleAnnouncementEvent event(&widget, text);
    QAccessible::updateAccessibility(&event);
#else
    // The toolkit has no such event yet, so it goes over the toolkit's own connection.
    QDBusConnection bus("a11y");
    auto* element = QAccessible::queryAccessibleInterface(&widget);
    if (!bus.isConnected() || element == nullptr)
        return;
    constexpr int polite = 1;
    auto signal = QDBusMessage::createSignal(
        QString("/org/a11y/atspi/accessible/%1").arg(QAccessible::uniqueId(element)),
        "org.a11y.atspi.Event.Object", "Announcement");
    signal << QString() << polite << 0 << QVariant::fromValue(QDBusVariant(text)) << QVariantMap();
    bus.send(signal);
#endif
}

} // namespace quoxelin
