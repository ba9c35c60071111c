#include "View/Element.h"

#include <algorithm>

namespace quoxelin {

Element::Element(ViewNode::Kind kind) : kind(kind) {}

Element::~Element() = default;

bool Element::standsFor(const ViewNode& node) const {
    return kind == node.kind && key == node.key;
}

void Element::bind(const ViewNode& node) {
    key = node.key;
    bindFrame(node);
    bindContent(node);

    if (!node.popover)
        popover.reset();
    else if (!popover)
        popover = makePopover();
    if (popover)
        popover->bind(*node.popover);

    if (!node.alert)
        alert.reset();
    else if (!alert)
        alert = makeAlert();
    if (alert)
        alert->bind(*node.alert);
}

ViewNode Element::readBack() const {
    ViewNode node;
    node.kind = kind;
    node.key = key;
    readFrame(node);
    readContent(node);
    if (popover)
        node.popover = std::make_shared<Popover>(popover->readBack());
    if (alert)
        node.alert = std::make_shared<Alert>(alert->readBack());
    return node;
}

void Element::windowDidShow() {
    if (popover)
        popover->present();
    if (alert)
        alert->present();
}

void Element::windowDidHide() {
    if (popover)
        popover->takeAway();
    if (alert)
        alert->takeAway();
}

bool haveSameButtons(const Alert& a, const Alert& b) {
    return std::equal(a.buttons.begin(), a.buttons.end(), b.buttons.begin(), b.buttons.end(),
                      [](const Alert::Button& one, const Alert::Button& other) {
                          return one.title == other.title && one.role == other.role;
                      });
}

} // namespace quoxelin
