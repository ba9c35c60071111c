#include "Simulation/System/SimulatedPanels.h"

#include <algorithm>

namespace quoxelin {

std::unique_ptr<NSPanel> SimulatedPanels::makePanel(const NSPanelOptions& options) {
    return std::make_unique<Panel>(*this, options);
}

std::shared_ptr<NSHostingView> SimulatedPanels::makeHostingView() {
    return std::make_shared<HostingView>();
}

Subscription SimulatedPanels::addGlobalMonitorForEvents(unsigned long long mask,
                                                        std::function<void()> handler) {
    return presses.add([mask, handler = std::move(handler)](unsigned long long event) {
        if ((mask & event) != 0)
            handler();
    });
}

SimulatedPanels::Panel::Panel(SimulatedPanels& owner, const NSPanelOptions& options)
    : owner(owner), made(options), place(options.contentRect),
      hasContentView(owner.panelsHaveContentView) {
    owner.panels.push_back(this);
}

SimulatedPanels::Panel::~Panel() {
    owner.panels.erase(std::find(owner.panels.begin(), owner.panels.end(), this));
}

std::optional<NSRect> SimulatedPanels::Panel::contentViewBounds() const {
    if (!hasContentView && !content)
        return std::nullopt;
    return NSRect{0, 0, place.width, place.height};
}

void SimulatedPanels::Panel::setFrameOrigin(double x, double y) {
    place.x = x;
    place.y = y;
}

void SimulatedPanels::Panel::makeKeyAndOrderFront() {
    visible = true;
    key = true;
}

void SimulatedPanels::Panel::orderOut() {
    if (!visible)
        return;
    visible = false;
    key = false;
    if (const auto handler = didOrderOut)
        handler();
}

void SimulatedPanels::Panel::resize(NSSize size) {
    place.width = size.width;
    place.height = size.height;
}

const ViewNode* SimulatedPanels::Panel::tree() const {
    if (!content)
        return nullptr;
    const auto* const view = dynamic_cast<const HostingView*>(content->subview.get());
    return view != nullptr && view->tree ? &*view->tree : nullptr;
}

} // namespace quoxelin
