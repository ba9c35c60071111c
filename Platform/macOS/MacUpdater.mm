#include "Platform/macOS/MacUpdater.h"

#include "Platform/Foundation.h"

#import <Sparkle/Sparkle.h>

/// Observes whether the updater can check for updates.
@interface QXUpdaterObserver : NSObject
- (instancetype)initWithUpdater:(SPUUpdater*)updater handler:(std::function<void(bool)>)handler;
- (void)stop;
@end

@implementation QXUpdaterObserver {
    SPUUpdater* updater;
    std::function<void(bool)> handler;
}

- (instancetype)initWithUpdater:(SPUUpdater*)observed
                        handler:(std::function<void(bool)>)newHandler {
    if ((self = [super init])) {
        updater = observed;
        handler = std::move(newHandler);
        [updater addObserver:self
                  forKeyPath:@"canCheckForUpdates"
                     options:NSKeyValueObservingOptionInitial
                     context:nil];
    }
    return self;
}

- (void)stop {
    [updater removeObserver:self forKeyPath:@"canCheckForUpdates"];
}

- (void)observeValueForKeyPath:(NSString*)keyPath
                      ofObject:(id)object
                        change:(NSDictionary<NSKeyValueChangeKey, id>*)change
                       context:(void*)context {
    // The handler may end the observation and destroy this object.
    const auto current = handler;
    current(updater.canCheckForUpdates);
}

@end

namespace quoxelin {

namespace {

class Updater final : public SPUUpdater {
  public:
    explicit Updater(::SPUUpdater* updater) : updater(updater) {}

    bool canCheckForUpdates() const override { return updater.canCheckForUpdates; }

    Subscription observeCanCheckForUpdates(std::function<void(bool)> observer) override {
        QXUpdaterObserver* const observation =
            [[QXUpdaterObserver alloc] initWithUpdater:updater handler:std::move(observer)];
        return Subscription([observation] { [observation stop]; });
    }

    void checkForUpdates() override { [updater checkForUpdates]; }

  private:
    ::SPUUpdater* updater;
};

class Controller final : public SPUStandardUpdaterController {
  public:
    explicit Controller(::SPUStandardUpdaterController* controller)
        : controller(controller), ownUpdater(controller.updater) {}

    SPUUpdater& updater() override { return ownUpdater; }

    void checkForUpdates() override { [controller checkForUpdates:nil]; }

  private:
    ::SPUStandardUpdaterController* controller;
    Updater ownUpdater;
};

/// Stands in for the updater if there is no key.
class AbsentUpdater final : public SPUStandardUpdaterController, public SPUUpdater {
  public:
    SPUUpdater& updater() override { return *this; }
    bool canCheckForUpdates() const override { return false; }
    void checkForUpdates() override {}

    Subscription observeCanCheckForUpdates(std::function<void(bool)> observer) override {
        observer(false);
        return {};
    }
};

} // namespace

MacUpdates::MacUpdates(const NSBundle& bundle)
    : isSigned(!bundle.stringForInfoDictionaryKey("SUPublicEDKey").value_or("").empty()) {}

std::unique_ptr<SPUStandardUpdaterController>
MacUpdates::makeStandardUpdaterController(bool startingUpdater) {
    if (!isSigned)
        return std::make_unique<AbsentUpdater>();
    return std::make_unique<Controller>([[::SPUStandardUpdaterController alloc]
        initWithStartingUpdater:startingUpdater
                updaterDelegate:nil
             userDriverDelegate:nil]);
}

} // namespace quoxelin
