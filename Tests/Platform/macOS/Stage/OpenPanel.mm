#import <AppKit/AppKit.h>

#import "Tests/Platform/macOS/Stage/StageAppKit.h"

using Handler = void (^)(NSModalResponse);

/// The handler of the open panel, which has no window here.
static Handler shownHandler = nil;
static NSURL* chosenURL = nil;

@implementation NSSavePanel (Stage)

- (void)beginWithCompletionHandler:(Handler)handler {
    chosenURL = nil;
    shownHandler = [handler copy];
}

- (NSURL*)URL {
    return chosenURL;
}

@end

namespace quoxelin::stage {

bool isOpenPanelShown() {
    return shownHandler != nil;
}

bool answerOpenPanel(NSURL* chosen) {
    const Handler handler = shownHandler;
    if (handler == nil)
        return false;
    shownHandler = nil;
    chosenURL = chosen;
    handler(chosen != nil ? NSModalResponseOK : NSModalResponseCancel);
    return true;
}

} // namespace quoxelin::stage
