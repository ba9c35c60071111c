#import <Sparkle/Sparkle.h>

#import "Tests/Platform/macOS/Stage/Stage.h"
#import "Tests/Platform/macOS/Stage/StageServices.h"

namespace quoxelin::stage {

UpdaterState& updates() {
    static UpdaterState state;
    static dispatch_once_t once;
    dispatch_once(&once, ^{
        onReset(^{
            state = UpdaterState();
        });
    });
    return state;
}

} // namespace quoxelin::stage

using quoxelin::stage::updates;

@interface SPUUpdater ()
@property(nonatomic) BOOL canCheckForUpdates;
@end

@implementation SPUUpdater

- (void)start {
    updates().isStarted = true;
    quoxelin::stage::answerLater(@"startUpdater", dispatch_get_main_queue(), ^(NSError* error) {
        self.canCheckForUpdates = error == nil;
    });
}

/// Runs one check at a time.
- (void)checkForUpdates {
    if (!self.canCheckForUpdates)
        return;
    ++updates().checks;
    self.canCheckForUpdates = NO;
    quoxelin::stage::answerLater(@"checkForUpdates", dispatch_get_main_queue(), ^(NSError*) {
        self.canCheckForUpdates = YES;
    });
}

@end

@implementation SPUStandardUpdaterController

- (instancetype)initWithStartingUpdater:(BOOL)startUpdater
                        updaterDelegate:(id)updaterDelegate
                     userDriverDelegate:(id)userDriverDelegate {
    if ((self = [super init])) {
        _updater = [[SPUUpdater alloc] init];
        if (startUpdater)
            [_updater start];
    }
    return self;
}

- (void)checkForUpdates:(id)sender {
    [self.updater checkForUpdates];
}

@end
