#include "Runner/Views/HostingController.h"

#include "Base/Dispatch.h"
#include "Platform/NSPanel.h"

namespace quoxelin {

HostingController::HostingController(MainQueue& main, std::shared_ptr<NSHostingView> view,
                                     AnyView rootView)
    : view(std::move(view)), main(main), rootView(std::move(rootView)) {
    observers = this->rootView.objectWillChange([this] { setNeedsUpdate(); });
    update();
}

void HostingController::setNeedsUpdate() {
    if (needsUpdate)
        return;
    needsUpdate = true;
    main.async(lifetime.weakly([this] { update(); }));
}

void HostingController::update() {
    // Drawing can change observed state, for example when a row disappears under the pointer. That
    // requests another update.
    needsUpdate = false;
    view->setRootView(rootView.body());
}

} // namespace quoxelin
