#pragma once

#import <AppKit/AppKit.h>

// What tests do at the stage's desktop, and what they see of it.

namespace quoxelin::stage {

/// What happens in another program's window reaches the global monitors of that kind of event.
void sendGlobalEvent(unsigned long long kind);

struct WorkspaceState {
    /// Addresses, folders and applications that were opened.
    NSMutableArray<NSURL*>* opened = [NSMutableArray array];
    /// Where applications are, by bundle identifier.
    NSMutableDictionary<NSString*, NSURL*>* applications = [NSMutableDictionary dictionary];
};
WorkspaceState& workspace();

/// The button of the item in the status bar; nil while there is none.
::NSStatusBarButton* statusButton();

/// The user chooses a folder in the open panel, or cancels it; false when none is shown.
bool answerOpenPanel(NSURL* chosen);
bool isOpenPanelShown();

} // namespace quoxelin::stage
