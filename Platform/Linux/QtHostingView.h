#pragma once

#include "Platform/Linux/ElementView.h"
#include "Platform/NSPanel.h"

#include <QPointer>
#include <QWidget>

namespace quoxelin {

/// Shows a tree of view records with native widgets. Trees that follow quickly on one another are
/// shown at most once per frame, and the first one soon after the start, because the icon is shown
/// first.
class QtHostingView final : public NSHostingView {
  public:
    QtHostingView();
    ~QtHostingView() override;

    void setRootView(const ViewNode& tree) override;

    /// Shows the newest tree at once. Call before asking for the size of the widgets.
    void catchUp() const;

    /// The same for all hosting views. Call before reading the screen.
    static void catchUpAll();

    /// What the widgets show, with the newest tree.
    ViewNode readBack() const;

    /// For the window that shows it; the window takes ownership.
    QWidget* widget();

  private:
    class Container;
    QPointer<Container> container;
};

} // namespace quoxelin
