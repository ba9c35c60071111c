#include "Base/Dispatch.h"
#include "Base/ProgrammingFault.h"
#include "Platform/Foundation.h"
#include "Platform/NSPanel.h"
#include "Platform/NSStatusBar.h"
#include "Platform/Updater.h"
#include "Runner/AppDelegate.h"
#include "Runner/Services/SystemExtension/SystemExtensionService.h"
#include "Runner/Shared/AppLogger.h"
#include "Runner/Stores/AppViewState.h"
#include "Runner/ViewModels/UpdaterViewModel.h"
#include "Runner/Views/HostingController.h"
#include "Runner/Views/MenuBar.h"

namespace quoxelin {

void AppDelegate::setupMenuBar() {
    if (mainThread.takesOver([this] { setupMenuBar(); }))
        return;
    logger.log("App", "Setting up Menu Bar...");
    statusItem = platform.statusBar.statusItemWithLength(NSSquareStatusItemLength);
    if (auto* const button = statusItem->button()) {
        updateStatusItemIcon();
        button->setAction(mainThread.weakly([this] { togglePopover(); }));
    }

    menuBar = std::make_unique<MenuBar>(
        QuoxelinMenuBarContent::Dependencies{
            .dispatch = platform.dispatch,
            .logger = logger,
            .localAPI = localAPI,
            .workspace = platform.workspace,
            .pasteboard = platform.pasteboard,
            .openPanel = platform.openPanel,
            .mainBundle = platform.mainBundle,
            .processInfo = platform.processInfo,
            .notificationCenter = platform.userNotificationCenter,
            .application = platform.application,
            .helperGuidance = platform.helperGuidance,
            .systemExtensionGuidance = platform.systemExtensionGuidance,
        },
        appState, std::make_shared<UpdaterViewModel>(updaterController->updater()),
        systemExtension);
    // The state is published before it changes.
    toolTipObserver = appState->objectWillChange([this] {
        platform.dispatch.main().async(mainThread.weakly([this] { updateStatusItemToolTip(); }));
    });
    updateStatusItemToolTip();
    hostingController = std::make_unique<HostingController>(
        platform.dispatch.main(), platform.panels.makeHostingView(), menuBar->erased());

    makePanel();
    installGlobalClickMonitor();
}

void AppDelegate::makePanel() {
    NSPanelOptions options;
    options.contentRect = {0, 0, 300, 400};
    options.styleMask = NSWindowStyleMaskNonactivatingPanel | NSWindowStyleMaskFullSizeContentView;
    options.backing = NSBackingStoreBuffered;
    options.defer = false;
    options.clearBackground = true;
    options.opaque = false;
    options.hasShadow = true;
    options.level = NSFloatingWindowLevel;
    options.title = "Quoxelin";
    options.titleHidden = true;
    options.titlebarAppearsTransparent = true;
    auto panel = platform.panels.makePanel(options);

    NSVisualEffectView background;
    background.frame = panel->contentViewBounds().value_or(NSRect{});
    background.autoresizingMask = NSViewWidthSizable | NSViewHeightSizable;
    background.material = NSVisualEffectMaterialPopover;
    background.blendingMode = NSVisualEffectBlendingModeBehindWindow;
    background.state = NSVisualEffectStateActive;
    background.wantsLayer = true;
    background.cornerRadius = 10;
    background.masksToBounds = true;
    background.subview = hostingController->view;
    panel->setContentView(background);
    panel->setDidOrderOut(mainThread.weakly([this] { menuBar->content->panelDidHide(); }));
    overlayWindow = std::move(panel);
}

void AppDelegate::installGlobalClickMonitor() {
    // Reports only clicks outside the application's windows, so a click inside the panel never
    // closes it.
    globalClickMonitor = platform.panels.addGlobalMonitorForEvents(
        NSEventMaskLeftMouseDown | NSEventMaskRightMouseDown, mainThread.weakly([this] {
            if (panel().isVisible())
                panel().orderOut();
        }));
}

NSPanel& AppDelegate::panel() {
    if (!overlayWindow)
        programmingFault("overlayWindow is used before setupMenuBar() has made it");
    return *overlayWindow;
}

void AppDelegate::updateStatusItemIcon() {
    if (mainThread.takesOver([this] { updateStatusItemIcon(); }))
        return;
    auto* const button = statusItem ? statusItem->button() : nullptr;
    if (button == nullptr)
        return;
    if (const auto image = platform.statusBar.imageNamed("menu_icon")) {
        image->setTemplate(true);
        image->setSize({18, 18});
        button->setImage(image);
        button->setTitle("");
    } else {
        logger.log("App", "Menu bar icon asset not found: menu_icon");
        button->setImage(nullptr);
        button->setTitle("QX");
    }
}

void AppDelegate::updateStatusItemToolTip() {
    auto* const button = statusItem ? statusItem->button() : nullptr;
    const auto state = menuBar->content->connectionState();
    const auto toolTip = "Quoxelin" + (state.empty() ? "" : ": " + state);
    if (button != nullptr && std::exchange(statusItemToolTip, toolTip) != toolTip)
        button->setToolTip(toolTip);
}

void AppDelegate::togglePopover() {
    if (mainThread.takesOver([this] { togglePopover(); }))
        return;
    updateStatusItemIcon();
    if (panel().isVisible())
        panel().orderOut();
    else
        showWindow();
}

void AppDelegate::showWindow() {
    if (mainThread.takesOver([this] { showWindow(); }))
        return;
    auto* const button = statusItem ? statusItem->button() : nullptr;
    const auto onScreen = button != nullptr ? button->frameOnScreen() : std::nullopt;
    const auto icon = onScreen.value_or(NSRect{});
    const auto size = panel().frame();
    constexpr double gap = 5;
    panel().setFrameOrigin(icon.x + icon.width * 0.5 - size.width * 0.5,
                           icon.y - size.height - gap);
    platform.application.activateIgnoringOtherApps();
    panel().makeKeyAndOrderFront();
    menuBar->content->onAppear();
}

void AppDelegate::setupMainMenu() {
    if (mainThread.takesOver([this] { setupMainMenu(); }))
        return;
    const auto name = platform.processInfo.processName();
    constexpr auto command = NSEventModifierFlagCommand;
    const NSMenuItem separator;
    NSMenuItem checkForUpdates{"Check for Updates...", "checkForUpdates:",
                               mainThread.weakly([this] { updaterController->checkForUpdates(); }),
                               "", command};
    checkForUpdates.isEnabled = [weak = weak_from_this()] {
        const auto self = weak.lock();
        return self && self->updaterController->updater().canCheckForUpdates();
    };
    platform.application.setMainMenu({
        {"About " + name, "orderFrontStandardAboutPanel:", nullptr, "", command},
        std::move(checkForUpdates),
        separator,
        {"Hide " + name, "hide:", nullptr, "h", command},
        {"Hide Others", "hideOtherApplications:", nullptr, "h",
         NSEventModifierFlagOption | command},
        {"Show All", "unhideAllApplications:", nullptr, "", command},
        separator,
        {"Quit " + name, "terminate:", nullptr, "q", command},
    });
}

} // namespace quoxelin
