#include "Platform/macOS/AlertSheet.h"

#include "Platform/macOS/ObjC.h"

namespace quoxelin {

struct AlertSheet::Actions {
    void perform(NSModalResponse response) const {
        const auto index = response - NSAlertFirstButtonReturn;
        if (index < 0 || index >= static_cast<NSModalResponse>(functions.size()))
            return;
        if (const auto current = functions[static_cast<std::size_t>(index)])
            current();
    }

    std::vector<std::function<void()>> functions;
};

namespace {

/// Return must not trigger a destructive button.
void setRole(NSButton* button, Alert::Button::Role role) {
    switch (role) {
    case Alert::Button::Role::destructive:
        button.hasDestructiveAction = YES;
        button.keyEquivalent = @"";
        return;
    case Alert::Button::Role::cancel:
        button.keyEquivalent = @"\x1b";
        return;
    }
}

} // namespace

AlertSheet::AlertSheet(NSView* anchor) : anchor(anchor), actions(std::make_shared<Actions>()) {}

AlertSheet::~AlertSheet() {
    takeAway();
}

NSAlert* AlertSheet::makeAlert(const Alert& record) const {
    NSAlert* const made = [[NSAlert alloc] init];
    made.alertStyle = NSAlertStyleWarning;
    for (const auto& button : record.buttons)
        setRole([made addButtonWithTitle:toNSString(button.title)], button.role);
    return made;
}

void AlertSheet::bind(const Alert& record) {
    if (alert == nil || !haveSameButtons(readBack(), record)) {
        takeAway();
        alert = makeAlert(record);
    }
    alert.messageText = toNSString(record.title);
    alert.informativeText = toNSString(record.message);
    actions->functions.clear();
    for (const auto& button : record.buttons)
        actions->functions.push_back(button.action);
    present();
}

Alert AlertSheet::readBack() const {
    Alert record{toString(alert.messageText), toString(alert.informativeText), {}};
    for (NSButton* button in alert.buttons)
        record.buttons.push_back({toString(button.title),
                                  button.hasDestructiveAction ? Alert::Button::Role::destructive
                                                              : Alert::Button::Role::cancel,
                                  nullptr});
    return record;
}

void AlertSheet::present() {
    NSWindow* const window = anchor.window;
    if (alert == nil || !window.visible || alert.window.sheetParent != nil)
        return;
    [alert beginSheetModalForWindow:window
                  completionHandler:[answered = actions](NSModalResponse response) {
                      answered->perform(response);
                  }];
}

void AlertSheet::takeAway() {
    NSWindow* const parent = alert.window.sheetParent;
    if (parent != nil)
        [parent endSheet:alert.window returnCode:NSModalResponseAbort];
}

} // namespace quoxelin
