#pragma once

#import <AppKit/AppKit.h>

// Tests control and observe the stage's desktop with these functions.

namespace quoxelin::stage {

/// Calls the global monitors as for an event in another program's window.
void sendGlobalEvent(unsigned long long kind);

struct WorkspaceState {
    /// The URLs, folders and applications that were opened.
    NSMutableArray<NSURL*>* opened = [NSMutableArray array];
    /// The URLs of applications by bundle identifier.
    NSMutableDictionary<NSString*, NSURL*>* applications = [NSMutableDictionary dictionary];
};
WorkspaceState& workspace();

/// The status item's button; nil without a status item.
::NSStatusBarButton* statusButton();

/// Chooses a folder in the open panel; nil cancels it. Returns false if none is shown.
bool answerOpenPanel(NSURL* chosen);
bool isOpenPanelShown();

} // namespace quoxelin::stage
