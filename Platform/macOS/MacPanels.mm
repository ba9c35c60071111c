#include "Platform/macOS/MacPanels.h"

#include "Platform/macOS/MacHostingView.h"
#include "Platform/macOS/ObjC.h"
#include "Platform/macOS/QXPanel.h"

namespace quoxelin {

namespace {

static_assert(NSWindowStyleMaskNonactivatingPanel == ::NSWindowStyleMaskNonactivatingPanel);
static_assert(NSWindowStyleMaskFullSizeContentView == ::NSWindowStyleMaskFullSizeContentView);
static_assert(NSBackingStoreBuffered == ::NSBackingStoreBuffered);
static_assert(NSViewWidthSizable == ::NSViewWidthSizable);
static_assert(NSViewHeightSizable == ::NSViewHeightSizable);
static_assert(NSVisualEffectMaterialPopover == ::NSVisualEffectMaterialPopover);
static_assert(NSVisualEffectBlendingModeBehindWindow == ::NSVisualEffectBlendingModeBehindWindow);
static_assert(NSVisualEffectStateActive == ::NSVisualEffectStateActive);
static_assert(NSEventMaskLeftMouseDown == ::NSEventMaskLeftMouseDown);
static_assert(NSEventMaskRightMouseDown == ::NSEventMaskRightMouseDown);

CGRect toRect(const NSRect& rect) {
    return CGRectMake(rect.x, rect.y, rect.width, rect.height);
}

NSRect toRecord(CGRect rect) {
    return {rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
}

::NSVisualEffectView* makeEffectView(const NSVisualEffectView& record) {
    ::NSVisualEffectView* const view =
        [[::NSVisualEffectView alloc] initWithFrame:toRect(record.frame)];
    view.autoresizingMask = record.autoresizingMask;
    view.material = static_cast<NSVisualEffectMaterial>(record.material);
    view.blendingMode = static_cast<NSVisualEffectBlendingMode>(record.blendingMode);
    view.state = static_cast<NSVisualEffectState>(record.state);
    view.wantsLayer = record.wantsLayer;
    view.layer.cornerRadius = record.cornerRadius;
    view.layer.masksToBounds = record.masksToBounds;
    return view;
}

void pinToEdges(NSView* child, NSView* parent) {
    child.translatesAutoresizingMaskIntoConstraints = NO;
    [parent addSubview:child];
    [NSLayoutConstraint activateConstraints:@[
        [child.leadingAnchor constraintEqualToAnchor:parent.leadingAnchor],
        [child.trailingAnchor constraintEqualToAnchor:parent.trailingAnchor],
        [child.topAnchor constraintEqualToAnchor:parent.topAnchor],
        [child.bottomAnchor constraintEqualToAnchor:parent.bottomAnchor],
    ]];
}

class Panel final : public NSPanel {
  public:
    explicit Panel(const NSPanelOptions& options)
        : panel([[QXPanel alloc]
              initWithContentRect:toRect(options.contentRect)
                        styleMask:options.styleMask
                          backing:static_cast<NSBackingStoreType>(options.backing)
                            defer:options.defer]) {
        if (options.clearBackground)
            panel.backgroundColor = NSColor.clearColor;
        panel.opaque = options.opaque;
        panel.hasShadow = options.hasShadow;
        panel.level = options.level;
        panel.title = toNSString(options.title);
        panel.titleVisibility = options.titleHidden ? NSWindowTitleHidden : NSWindowTitleVisible;
        panel.titlebarAppearsTransparent = options.titlebarAppearsTransparent;
    }
    Panel(const Panel&) = delete;
    Panel& operator=(const Panel&) = delete;
    ~Panel() override {
        [panel setDidOrderOut:nullptr];
        [panel orderOut:nil];
    }

    std::optional<NSRect> contentViewBounds() const override {
        if (panel.contentView == nil)
            return std::nullopt;
        return toRecord(panel.contentView.bounds);
    }

    void setContentView(const NSVisualEffectView& record) override {
        ::NSVisualEffectView* const effect = makeEffectView(record);
        if (const auto hosting = std::static_pointer_cast<MacHostingView>(record.subview)) {
            pinToEdges(hosting->view, effect);
            panel.treeView = hosting->view;
        }
        panel.contentView = effect;
        [panel fitContent];
    }

    NSRect frame() const override {
        [panel fitContent];
        return toRecord(panel.frame);
    }

    void setFrameOrigin(double x, double y) override { [panel setFrameOrigin:NSMakePoint(x, y)]; }
    bool isVisible() const override { return panel.visible; }
    void makeKeyAndOrderFront() override { [panel makeKeyAndOrderFront:nil]; }
    void orderOut() override { [panel orderOut:nil]; }

    void setDidOrderOut(std::function<void()> handler) override {
        [panel setDidOrderOut:std::move(handler)];
    }

  private:
    QXPanel* const panel;
};

} // namespace

std::unique_ptr<NSPanel> MacPanels::makePanel(const NSPanelOptions& options) {
    return std::make_unique<Panel>(options);
}

std::shared_ptr<NSHostingView> MacPanels::makeHostingView() {
    return std::make_shared<MacHostingView>();
}

Subscription MacPanels::addGlobalMonitorForEvents(unsigned long long mask,
                                                  std::function<void()> handler) {
    id monitor = [NSEvent addGlobalMonitorForEventsMatchingMask:mask
                                                        handler:^(NSEvent*) {
                                                            handler();
                                                        }];
    const auto other =
        std::make_shared<Subscription>(pretended.add([mask, handler](unsigned long long kind) {
            if ((kind & mask) != 0)
                handler();
        }));
    return Subscription([monitor, other] {
        if (monitor != nil)
            [NSEvent removeMonitor:monitor];
        other->cancel();
    });
}

} // namespace quoxelin
