#pragma once

#include "Base/Lifetime.h"
#include "Runner/Views/AnyView.h"

#include <memory>
#include <vector>

namespace quoxelin {

class MainQueue;
class NSHostingView;

/// Keeps the screen up to date with a view. All changes in one turn of the main queue give one new
/// tree on the next turn. Main thread only.
class HostingController {
  public:
    HostingController(MainQueue& main, std::shared_ptr<NSHostingView> view, AnyView rootView);

    const std::shared_ptr<NSHostingView> view;

  private:
    void setNeedsUpdate();
    void update();

    MainQueue& main;
    AnyView rootView;
    bool needsUpdate = false;
    std::vector<Subscription> observers;
    Lifetime lifetime;
};

} // namespace quoxelin
