#include "Platform/NSWorkspace.h"
#include "Platform/macOS/MacAppleEventManager.h"
#include "Platform/macOS/MacAppleScript.h"
#include "Tests/Platform/macOS/Services/ServiceFixture.h"

#import <AppKit/AppKit.h>

namespace quoxelin::testing {

using MacAppleScriptTest = ServiceTest;

TEST_F(MacAppleScriptTest, runsAScript) {
    const auto script = MacAppleScript().initWithSource("beep");
    ASSERT_NE(script, nullptr);
    EXPECT_EQ(script->executeAndReturnError(), std::nullopt);
    EXPECT_TRUE([stage::scripts() isEqualToArray:@[ @"beep" ]]);
}

TEST_F(MacAppleScriptTest, reportsWhyAScriptFailed) {
    const auto script = MacAppleScript().initWithSource("beep");
    stage::failNext(@"executeAndReturnError", errorOf(NSCocoaErrorDomain, 1));
    EXPECT_NE(script->executeAndReturnError().value_or("").find("it did not work"),
              std::string::npos);
    stage::raiseNext(@"executeAndReturnError", NSGenericException);
    EXPECT_EQ(script->executeAndReturnError(), "executeAndReturnError was called out of turn");
    stage::failNext(@"initWithSource", errorOf(NSCocoaErrorDomain, 1));
    EXPECT_EQ(MacAppleScript().initWithSource("beep"), nullptr);
    EXPECT_EQ(stage::scripts().count, 0u);
}

namespace {

class MacAppleEventsTest : public ServiceTest {
  protected:
    /// Simulates the launch, at which the framework installs its handlers.
    static void launch() {
        [[NSNotificationCenter defaultCenter]
            postNotificationName:NSApplicationWillFinishLaunchingNotification
                          object:NSApp];
    }

    static bool open(NSString* url) {
        NSAppleEventDescriptor* const event = [[NSAppleEventDescriptor alloc] init];
        if (url != nil)
            [event setParamDescriptor:[NSAppleEventDescriptor descriptorWithString:url]
                           forKeyword:keyDirectObject];
        return stage::sendEvent(::kInternetEventClass, ::kAEGetURL, event);
    }

    void listen(MacAppleEventManager& manager) {
        manager.setEventHandler(kInternetEventClass, kAEGetURL,
                                [this](const std::optional<std::string>& url) {
                                    EXPECT_TRUE([NSThread isMainThread]);
                                    urls.push_back(url.value_or("nothing"));
                                });
    }

    std::vector<std::string> urls;
};

using Urls = std::vector<std::string>;

} // namespace

TEST_F(MacAppleEventsTest, deliverUrlsFromBrowsers) {
    MacAppleEventManager manager;
    launch();
    listen(manager);
    EXPECT_TRUE(open(@"quoxelin://login?token=5"));
    EXPECT_TRUE(open(nil));
    EXPECT_EQ(urls, (Urls{"quoxelin://login?token=5", "nothing"}));
}

TEST_F(MacAppleEventsTest, keepTheirHandlerWhenAnotherKindOfEventGetsOne) {
    MacAppleEventManager manager;
    launch();
    listen(manager);
    const auto forOthers = [](const std::optional<std::string>&) { ADD_FAILURE(); };
    manager.setEventHandler("aevt", kAEGetURL, forOthers);
    manager.setEventHandler(kInternetEventClass, "quit", forOthers);
    EXPECT_TRUE(open(@"quoxelin://login"));
    manager.send("quoxelin://again");
    EXPECT_EQ(urls, (Urls{"quoxelin://login", "quoxelin://again"}));
}

TEST_F(MacAppleEventsTest, waitForTheirHandler) {
    MacAppleEventManager manager;
    launch();
    EXPECT_TRUE(open(@"quoxelin://one"));
    manager.send("quoxelin://two");
    listen(manager);
    EXPECT_TRUE(urls.empty());
    ASSERT_TRUE(comesTrue([&] { return urls.size() == 2; }));
    EXPECT_EQ(urls, (Urls{"quoxelin://one", "quoxelin://two"}));
}

TEST_F(MacAppleEventsTest, keepTheirOrderWhenOneArrivesWhileAnotherIsHandled) {
    MacAppleEventManager manager;
    launch();
    EXPECT_TRUE(open(@"quoxelin://one"));
    EXPECT_TRUE(open(@"quoxelin://two"));
    manager.setEventHandler(kInternetEventClass, kAEGetURL,
                            [this](const std::optional<std::string>& url) {
                                urls.push_back(url.value_or("nothing"));
                                if (urls.size() == 1)
                                    EXPECT_TRUE(open(@"quoxelin://three"));
                            });
    ASSERT_TRUE(comesTrue([&] { return urls.size() == 3; }));
    EXPECT_EQ(urls, (Urls{"quoxelin://one", "quoxelin://two", "quoxelin://three"}));
}

TEST_F(MacAppleEventsTest, areDroppedAfterDestruction) {
    {
        MacAppleEventManager manager;
        launch();
        listen(manager);
    }
    EXPECT_FALSE(open(@"quoxelin://login"));
    EXPECT_TRUE(urls.empty());
}

TEST_F(MacAppleEventsTest, thatWaitAreDroppedByDestruction) {
    {
        MacAppleEventManager manager;
        launch();
        EXPECT_TRUE(open(@"quoxelin://login"));
        listen(manager);
    }
    MacAppleEventManager other;
    other.send("quoxelin://other");
    listen(other);
    ASSERT_TRUE(comesTrue([&] { return !urls.empty(); }));
    EXPECT_EQ(urls, Urls{"quoxelin://other"});
}

TEST_F(MacAppleEventsTest, mayEndTheirManager) {
    std::optional<MacAppleEventManager> manager(std::in_place);
    launch();
    manager->setEventHandler(kInternetEventClass, kAEGetURL,
                             [&, kept = keepsake()](const std::optional<std::string>& url) {
                                 manager.reset();
                                 urls.push_back(url.value_or("nothing"));
                                 EXPECT_EQ(kept, keepsake());
                             });
    EXPECT_TRUE(open(@"quoxelin://login"));
    EXPECT_EQ(urls, Urls{"quoxelin://login"});
}

} // namespace quoxelin::testing
