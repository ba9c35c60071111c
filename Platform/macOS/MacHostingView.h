#pragma once

#include "Platform/NSPanel.h"
#include "Platform/macOS/QXTreeView.h"

namespace quoxelin {

/// Draws the records with native views.
class MacHostingView final : public NSHostingView {
  public:
    void setRootView(const ViewNode& tree) override { [view show:tree]; }

    ViewNode readBack() const { return [view readBack]; }

    QXTreeView* const view = [[QXTreeView alloc] init];
};

} // namespace quoxelin
