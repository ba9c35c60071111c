#pragma once

#include "Base/ObserverList.h"
#include "Platform/NSPanel.h"
#include "View/ViewRecords.h"

#include <algorithm>
#include <vector>

namespace quoxelin {

/// Panels in memory. Nothing is drawn. Main thread only.
class SimulatedPanels final : public Panels {
  public:
    struct HostingView final : NSHostingView {
        void setRootView(const ViewNode& value) override {
            tree = value;
            ++updates;
        }

        /// The current tree; empty before the first one.
        std::optional<ViewNode> tree;
        int updates = 0;
    };

    class Panel;

    std::unique_ptr<NSPanel> makePanel(const NSPanelOptions& options) override;
    std::shared_ptr<NSHostingView> makeHostingView() override {
        return std::make_shared<HostingView>();
    }
    Subscription addGlobalMonitorForEvents(unsigned long long mask,
                                           std::function<void()> handler) override {
        return presses.add([mask, handler = std::move(handler)](unsigned long long event) {
            if ((mask & event) != 0)
                handler();
        });
    }

    /// Called before a panel is ordered front.
    std::function<void()> willOrderFront;

    /// Whether new panels have a content view.
    bool panelsHaveContentView = true;

    /// The oldest panel; null if there is none.
    Panel* panel() const { return panels.empty() ? nullptr : panels.front(); }

    /// The user presses a mouse button in another application or on the desktop.
    void pressElsewhere(unsigned long long event = NSEventMaskLeftMouseDown) {
        presses.notify(event);
    }

    /// Whether there is a monitor for presses elsewhere.
    bool isMonitored() const { return !presses.empty(); }

  private:
    std::vector<Panel*> panels;
    ObserverList<unsigned long long> presses;
};

/// A panel in memory.
class SimulatedPanels::Panel final : public NSPanel {
  public:
    Panel(SimulatedPanels& owner, const NSPanelOptions& options)
        : owner(owner), made(options), place(options.contentRect),
          hasContentView(owner.panelsHaveContentView) {
        owner.panels.push_back(this);
    }
    ~Panel() override {
        owner.panels.erase(std::find(owner.panels.begin(), owner.panels.end(), this));
    }
    Panel(const Panel&) = delete;
    Panel& operator=(const Panel&) = delete;

    std::optional<NSRect> contentViewBounds() const override {
        if (!hasContentView && !content)
            return std::nullopt;
        return NSRect{0, 0, place.width, place.height};
    }
    void setContentView(const NSVisualEffectView& view) override { content = view; }
    NSRect frame() const override { return place; }
    void setFrameOrigin(double x, double y) override {
        place.x = x;
        place.y = y;
    }
    bool isVisible() const override { return visible; }
    void makeKeyAndOrderFront() override {
        if (owner.willOrderFront)
            owner.willOrderFront();
        visible = key = true;
    }
    void orderOut() override {
        if (!visible)
            return;
        visible = key = false;
        if (const auto handler = didOrderOut)
            handler();
    }
    void setDidOrderOut(std::function<void()> handler) override {
        didOrderOut = std::move(handler);
    }

    const NSPanelOptions& options() const { return made; }

    /// The content resizes the panel.
    void resize(NSSize size) {
        place.width = size.width;
        place.height = size.height;
    }

    bool isKey() const { return key; }

    /// Empty until a content view is set.
    const std::optional<NSVisualEffectView>& contentView() const { return content; }

    /// The tree that the panel shows; null if there is none.
    const ViewNode* tree() const {
        const auto* const view =
            content ? dynamic_cast<const HostingView*>(content->subview.get()) : nullptr;
        return view != nullptr && view->tree ? &*view->tree : nullptr;
    }

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

inline std::unique_ptr<NSPanel> SimulatedPanels::makePanel(const NSPanelOptions& options) {
    return std::make_unique<Panel>(*this, options);
}

} // namespace quoxelin
