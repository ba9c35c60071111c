#pragma once

#include "Base/ObserverList.h"
#include "Platform/NSPanel.h"
#include "View/ViewRecords.h"

#include <vector>

namespace quoxelin {

/// A screen on which panels are placed but nothing is drawn. Main thread only.
class SimulatedPanels final : public Panels {
  public:
    struct HostingView final : NSHostingView {
        void setRootView(const ViewNode& value) override {
            tree = value;
            ++updates;
        }

        /// What is on the screen; absent before the first tree.
        std::optional<ViewNode> tree;
        int updates = 0;
    };

    class Panel;

    std::unique_ptr<NSPanel> makePanel(const NSPanelOptions& options) override;
    std::shared_ptr<NSHostingView> makeHostingView() override;
    Subscription addGlobalMonitorForEvents(unsigned long long mask,
                                           std::function<void()> handler) override;

    /// Whether new panels come with a content view.
    bool panelsHaveContentView = true;

    /// The panel that was made first and still exists; null when there is none.
    Panel* panel() const { return panels.empty() ? nullptr : panels.front(); }

    /// A person presses a mouse button in another application or on the desktop.
    void pressElsewhere(unsigned long long event = NSEventMaskLeftMouseDown) {
        presses.notify(event);
    }

    /// Whether anybody watches for mouse buttons pressed elsewhere.
    bool isMonitored() const { return !presses.empty(); }

  private:
    std::vector<Panel*> panels;
    ObserverList<unsigned long long> presses;
};

/// A panel as the screen knows it.
class SimulatedPanels::Panel final : public NSPanel {
  public:
    Panel(SimulatedPanels& owner, const NSPanelOptions& options);
    ~Panel() override;
    Panel(const Panel&) = delete;
    Panel& operator=(const Panel&) = delete;

    std::optional<NSRect> contentViewBounds() const override;
    void setContentView(const NSVisualEffectView& view) override { content = view; }
    NSRect frame() const override { return place; }
    void setFrameOrigin(double x, double y) override;
    bool isVisible() const override { return visible; }
    void makeKeyAndOrderFront() override;
    void orderOut() override;
    void setDidOrderOut(std::function<void()> handler) override {
        didOrderOut = std::move(handler);
    }

    const NSPanelOptions& options() const { return made; }

    /// A person or the content resizes the panel.
    void resize(NSSize size);

    bool isKey() const { return key; }

    /// Absent while it is the empty view that the panel came with.
    const std::optional<NSVisualEffectView>& contentView() const { return content; }

    /// What the panel shows; null when it shows no tree.
    const ViewNode* tree() const;

  private:
    SimulatedPanels& owner;
    NSPanelOptions made;
    NSRect place;
    bool hasContentView;
    bool visible = false;
    bool key = false;
    std::optional<NSVisualEffectView> content;
    std::function<void()> didOrderOut;
};

} // namespace quoxelin
