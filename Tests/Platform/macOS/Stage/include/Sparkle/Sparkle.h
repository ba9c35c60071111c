#pragma once

#import <Foundation/Foundation.h>

@interface SPUUpdater : NSObject
@property(nonatomic, readonly) BOOL canCheckForUpdates;
- (void)checkForUpdates;
@end

@interface SPUStandardUpdaterController : NSObject
- (instancetype)initWithStartingUpdater:(BOOL)startUpdater
                        updaterDelegate:(id)updaterDelegate
                     userDriverDelegate:(id)userDriverDelegate;
@property(nonatomic, readonly) SPUUpdater* updater;
- (void)checkForUpdates:(id)sender;
@end
