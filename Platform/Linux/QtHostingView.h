#pragma once

#include "Platform/Linux/ElementView.h"
#include "Platform/NSPanel.h"

#include <QPointer>
#include <QWidget>

namespace quoxelin {

/// Shows a tree of view records with native widgets.
class QtHostingView final : public NSHostingView {
  public:
    QtHostingView();
    ~QtHostingView() override;

    void setRootView(const ViewNode& tree) override;

    /// Call before asking for their size. Otherwise they are made soon after the start, because the
    /// icon is shown first.
    void makeWidgets() const;

    /// What the widgets show now.
    ViewNode readBack() const;

    /// For the window that shows it; the window takes ownership.
    QWidget* widget();

  private:
    class Container;
    QPointer<Container> container;
};

} // namespace quoxelin
