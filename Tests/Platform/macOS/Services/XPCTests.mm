#include "Platform/ServiceManagement.h"
#include "Platform/macOS/MacXPC.h"
#include "Tests/Platform/macOS/Services/ServiceFixture.h"

#import "Helper/macOS/QXHelperToolProtocol.h"

/// A helper that replies with the command line, unless it is silent.
@interface QXTestHelper : NSObject <HelperToolProtocol>
@property BOOL isSilent;
@property NSInteger received;
@end

@implementation QXTestHelper

- (void)runGoToolWithPath:(NSString*)path
                arguments:(NSArray<NSString*>*)arguments
                withReply:(void (^)(NSString* output))reply {
    if (!self.isSilent)
        reply([[@[ path ] arrayByAddingObjectsFromArray:arguments] componentsJoinedByString:@" "]);
}

- (void)pingWithReply:(void (^)(BOOL isThere))reply {
    ++self.received;
    if (!self.isSilent)
        reply(YES);
}

@end

namespace quoxelin::testing {

namespace {

class MacXPCTest : public ServiceTest {
  protected:
    static constexpr const char* name = "com.quoxelin.desktop.Helper";

    MacXPCTest() {
        stage::machServices()[@"com.quoxelin.desktop.Helper"] = helper;
        become(SMAppServiceStatus::enabled);
    }

    ~MacXPCTest() override {
        for (const auto& each : connections)
            each->invalidate();
        EXPECT_TRUE(comesTrue([] { return stage::countOfConnections() == 0; }));
    }

    static void become(SMAppServiceStatus status) {
        stage::serviceStatus()[@"com.quoxelin.desktop.helper.plist"] =
            @(static_cast<NSInteger>(status));
    }

    std::shared_ptr<NSXPCConnection> open() {
        auto connection = xpc.privilegedConnection(name);
        connection->setInterruptionHandler([this] { events.add("interrupted"); });
        connection->setInvalidationHandler([this] { events.add("invalidated"); });
        connection->resume();
        connections.push_back(connection);
        return connection;
    }

    std::shared_ptr<HelperToolProtocol> farEndOf(NSXPCConnection& connection) {
        std::shared_ptr<HelperToolProtocol> farEnd;
        bool isAnswered = false;
        connection.remoteObjectProxyWithErrorHandler(
            [this, kept = keepsake()](const Error& error) {
                EXPECT_EQ(kept, keepsake());
                events.add("error " + std::to_string(error.code));
            },
            [&](std::shared_ptr<HelperToolProtocol> found) {
                isAnswered = true;
                farEnd = std::move(found);
            });
        EXPECT_TRUE(isAnswered);
        return farEnd;
    }

    std::function<void(bool)> replied() {
        return [this, kept = keepsake()](bool isThere) {
            EXPECT_EQ(kept, keepsake());
            events.add(isThere ? "there" : "not there");
        };
    }

    std::function<void(std::string)> printed() {
        return [this, kept = keepsake()](std::string output) {
            EXPECT_EQ(kept, keepsake());
            events.add(std::move(output));
        };
    }

    MacXPC xpc;
    QXTestHelper* const helper = [[QXTestHelper alloc] init];
    Answers<std::string> events;
    std::vector<std::shared_ptr<NSXPCConnection>> connections;
};

using Events = std::vector<std::string>;

} // namespace

TEST_F(MacXPCTest, deliversTheHelpersReplies) {
    const auto farEnd = farEndOf(*open());
    ASSERT_NE(farEnd, nullptr);
    farEnd->pingWithReply(replied());
    farEnd->runGoToolWithPath("/bin/quoxelin", {"up", "x y"}, printed());
    ASSERT_TRUE(events.arrive(2));
    EXPECT_EQ(events.get(), (Events{"there", "/bin/quoxelin up x y"}));
}

TEST_F(MacXPCTest, hasNoProxyWhileTheHelperIsNotEnabled) {
    for (const auto status : {SMAppServiceStatus::notRegistered,
                              SMAppServiceStatus::requiresApproval, SMAppServiceStatus::notFound}) {
        become(status);
        EXPECT_EQ(farEndOf(*open()), nullptr);
    }
}

TEST_F(MacXPCTest, reportsAMissingHelper) {
    [stage::machServices() removeAllObjects];
    const auto farEnd = farEndOf(*open());
    ASSERT_NE(farEnd, nullptr);
    farEnd->pingWithReply(replied());
    ASSERT_TRUE(events.arrive(2));
    EXPECT_EQ(events.get(), (Events{"error 4099", "invalidated"}));
}

TEST_F(MacXPCTest, reportsAHelperThatExits) {
    helper.isSilent = YES;
    const auto farEnd = farEndOf(*open());
    farEnd->pingWithReply(replied());
    ASSERT_TRUE(comesTrue([&] { return helper.received == 1; }));
    stage::endMachService(@"com.quoxelin.desktop.Helper");
    ASSERT_TRUE(events.arrive(2));
    EXPECT_EQ(events.get(), (Events{"error 4097", "interrupted"}));
}

TEST_F(MacXPCTest, deliversNoReplyOnceInvalidated) {
    helper.isSilent = YES;
    const auto connection = open();
    farEndOf(*connection)->pingWithReply(replied());
    connection->invalidate();
    connection->invalidate();
    ASSERT_TRUE(events.arrive(2));
    EXPECT_EQ(events.get(), (Events{"error 4099", "invalidated"}));
}

TEST_F(MacXPCTest, reportsAnExceptionAsAFailedMessage) {
    const auto farEnd = farEndOf(*open());
    stage::raiseNext(@"ping", NSGenericException);
    farEnd->pingWithReply(replied());
    stage::raiseNext(@"runGoToolWithPath", NSGenericException);
    farEnd->runGoToolWithPath("/bin/quoxelin", {}, printed());
    EXPECT_EQ(events.get(), (Events{"error 0", "error 0"}));
}

TEST_F(MacXPCTest, staysOpenWithoutReferences) {
    farEndOf(*open())->pingWithReply(replied());
    connections.clear();
    ASSERT_TRUE(events.arrive());
    EXPECT_EQ(events.get(), (Events{"there"}));
    EXPECT_EQ(stage::countOfConnections(), 1u);
    stage::endMachService(@"com.quoxelin.desktop.Helper");
    EXPECT_TRUE(comesTrue([] { return stage::countOfConnections() == 0; }));
}

TEST_F(MacXPCTest, answersTwoAtATime) {
    const auto one = farEndOf(*open()), other = farEndOf(*open());
    one->pingWithReply(replied());
    other->pingWithReply(replied());
    EXPECT_TRUE(events.arrive(2));
}

TEST_F(MacXPCTest, doesNotWaitForAConnectionWhoseMessageFailed) {
    const auto farEnd = farEndOf(*open());
    stage::failNext(@"ping", errorOf(NSCocoaErrorDomain, 4101));
    farEnd->pingWithReply(replied());
    ASSERT_TRUE(events.arrive());
    EXPECT_EQ(events.get(), (Events{"error 4101"}));
    const auto began = std::chrono::steady_clock::now();
    xpc.awaitReplies(seconds(5));
    EXPECT_LT(std::chrono::steady_clock::now() - began, seconds(5));
}

TEST_F(MacXPCTest, waitsBrieflyForOpenConnections) {
    const auto connection = open();
    const auto began = std::chrono::steady_clock::now();
    xpc.awaitReplies(std::chrono::milliseconds(50));
    EXPECT_GE(std::chrono::steady_clock::now() - began, std::chrono::milliseconds(50));
    connection->invalidate();
    xpc.awaitReplies(std::chrono::seconds(60));
    EXPECT_TRUE(events.arrive());
}

} // namespace quoxelin::testing
