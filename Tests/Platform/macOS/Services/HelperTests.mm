#include "Helper/macOS/Listener.h"
#include "Platform/ServiceManagement.h"
#include "Platform/macOS/MacXPC.h"
#include "Tests/Platform/macOS/Services/ServiceFixture.h"
#include "Tests/Support/VirtualDispatch.h"

#import "Helper/macOS/QXHelperToolProtocol.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

namespace quoxelin::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr const char* team = "TEAM012345";

/// The helper in a bundle whose programs are scripts, and the application as its client.
class MacHelperTest : public ServiceTest {
  protected:
    MacHelperTest() {
        char folder[] = "/tmp/quoxelin-helper-test.XXXXXX";
        bundle = std::filesystem::canonical(::mkdtemp(folder)).string();
        std::filesystem::create_directories(bundle + "/Contents/Resources");
        write("quoxelin", "echo \"tool $*\"; echo error >&2");
        write("quoxelind", "echo \"daemon $*\"");
        sign(application, { @"com.quoxelin.desktop", @(team) });
        sign("quoxelin", { @"quoxelin", @(team) });
        sign("quoxelind", { @"quoxelind", @(team) });
        stage::signatures().byPath[@(bundle.c_str())] = @[ @"com.quoxelin.desktop", @(team) ];
        stage::signatures().byService[@"com.quoxelin.desktop.Helper"] =
            @[ @"com.quoxelin.desktop.Helper", @(team) ];
        stage::serviceStatus()[@"com.quoxelin.desktop.helper.plist"] =
            @(static_cast<NSInteger>(SMAppServiceStatus::enabled));
        const auto record = [this](const std::string& line) {
            EXPECT_TRUE([NSThread isMainThread]);
            log.push_back(line);
        };
        const auto later = [this](std::chrono::seconds delay, std::function<void()> work) {
            clock.main().asyncAfter(delay, std::move(work));
        };
        const auto now = [this] { return std::chrono::steady_clock::time_point(clock.now()); };
        listener.emplace(bundle, team, record, helper::Listener::Time{now, later});
    }

    ~MacHelperTest() override {
        listener.reset();
        for (const auto& each : connections)
            each->invalidate();
        EXPECT_TRUE(comesTrue([] { return stage::countOfConnections() == 0; }));
        std::filesystem::remove_all(bundle);
    }

    static constexpr const char* application = "";

    struct Signer {
        NSString* identifier;
        NSString* team;
    };
    void sign(const std::string& program, Signer signer) {
        NSArray* const signature = @[ signer.identifier, signer.team ];
        if (program == application)
            stage::signatures().own = signature;
        else
            stage::signatures().byPath[@(pathOf(program).c_str())] = signature;
    }

    std::string pathOf(const std::string& program) const {
        return bundle + "/Contents/Resources/" + program;
    }

    void write(const std::string& program, const std::string& script) const {
        const auto path = pathOf(program);
        std::ofstream(path) << "#!/bin/sh\n" << script << "\n";
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }

    std::shared_ptr<HelperToolProtocol> helper() {
        auto connection = xpc.privilegedConnection(helper::machServiceName);
        connection->resume();
        connections.push_back(connection);
        std::shared_ptr<HelperToolProtocol> farEnd;
        connection->remoteObjectProxyWithErrorHandler(
            [this](const Error& error) { events.add("error " + std::to_string(error.code)); },
            [&](std::shared_ptr<HelperToolProtocol> found) { farEnd = std::move(found); });
        return farEnd;
    }

    /// Runs the program and returns the outcome.
    std::string run(const std::string& path, const std::vector<std::string>& arguments) {
        const auto before = events.get().size();
        helper()->runGoToolWithPath(path, arguments,
                                    [this](const std::string& output) { events.add(output); });
        return events.arrive(before + 1) ? events.get().back() : "nothing";
    }

    std::string ping() {
        const auto before = events.get().size();
        helper()->pingWithReply([this](bool) { events.add("there"); });
        return events.arrive(before + 1) ? events.get().back() : "nothing";
    }

    /// Asks for programs that run until `letProgramsEnd`.
    void startPrograms(std::size_t count, const std::string& atTheirEnd = "true") {
        write("quoxelin", "while [ -d " + bundle + " ] && [ ! -e " + bundle +
                              "/go ]; do sleep 0.01; done; echo end; " + atTheirEnd);
        while (count-- > 0)
            startProgram();
    }
    void startProgram() {
        const auto farEnd = helper();
        farEnd->runGoToolWithPath(pathOf("quoxelin"), {"up"},
                                  [this](const std::string& output) { events.add(output); });
        // The answer comes after the request has reached the main queue.
        const auto isThere = std::make_shared<bool>(false);
        farEnd->pingWithReply([isThere](bool) {
            dispatch_async(dispatch_get_main_queue(), ^{
                *isThere = true;
            });
        });
        ASSERT_TRUE(comesTrue([isThere] { return *isThere; }));
    }
    void letProgramsEnd() const { std::ofstream(bundle + "/go") << "go"; }

    /// Five more than the log takes in a minute.
    void sendManyForbiddenRequests() {
        for (int count = 0; count < 25; ++count)
            EXPECT_EQ(run("/bin/sh", {}), interrupted);
    }

    static constexpr const char* interrupted = "error 4097";

    VirtualDispatch clock;
    MacXPC xpc;
    std::string bundle;
    std::vector<std::string> log;
    std::optional<helper::Listener> listener;
    Answers<std::string> events;
    std::vector<std::shared_ptr<NSXPCConnection>> connections;
};

} // namespace

TEST_F(MacHelperTest, runsTheProgramsOfItsBundle) {
    EXPECT_EQ(run(pathOf("quoxelin"), {"status", "-json=true"}), "tool status -json=true\nerror\n");
    EXPECT_EQ(run(pathOf("quoxelind"), {"--help"}), "daemon --help\n");
    EXPECT_THAT(log, ElementsAre(HasSubstr("runs quoxelin status -json=true: process "),
                                 HasSubstr("ran quoxelin status -json=true: exit code 0"),
                                 HasSubstr("runs quoxelind --help: process "),
                                 HasSubstr("ran quoxelind --help: exit code 0")));
}

TEST_F(MacHelperTest, startsTheDaemonWithTheHostsThatTheBundleWasSignedWith) {
    stage::signatures().propertyLists[@(bundle.c_str())] =
        @{@"QXConductorURL" : @"https://conductor.example",
          @"LSUIElement" : @YES};
    EXPECT_EQ(run(pathOf("quoxelind"), {"up", "--conductor-host", "https://conductor.example"}),
              "daemon up --conductor-host https://conductor.example\n");
    EXPECT_EQ(run(pathOf("quoxelind"), {"up", "--conductor-host", "https://evil.example"}),
              interrupted);
    EXPECT_EQ(run(pathOf("quoxelind"), {"up"}), interrupted);
}

TEST_F(MacHelperTest, startsNoDaemonFromABundleThatOthersSigned) {
    stage::signatures().byPath[@(bundle.c_str())] = @[ @"com.quoxelin.desktop", @"OTHER67890" ];
    EXPECT_EQ(run(pathOf("quoxelind"), {"up"}), interrupted);
    EXPECT_THAT(log, ElementsAre(HasSubstr("the bundle's signature: signing error -67050")));
}

TEST_F(MacHelperTest, letsOnlyTheApplicationIn) {
    EXPECT_EQ(ping(), "there");
    sign(application, {@"com.quoxelin.desktop", @"OTHER67890"});
    // Held to the service's signature itself, such a client would not even ask.
    stage::signatures().byService[@"com.quoxelin.desktop.Helper"] =
        @[ @"com.quoxelin.desktop.Helper", @"OTHER67890" ];
    EXPECT_EQ(ping(), interrupted);
    sign(application, {@"com.quoxelin.desktop.Other", @"OTHER67890"});
    EXPECT_EQ(run(pathOf("quoxelin"), {"down"}), interrupted);
    stage::signatures().own = nil;
    EXPECT_EQ(ping(), interrupted);
    EXPECT_EQ(run(pathOf("quoxelin"), {"down"}), interrupted);
    EXPECT_THAT(log, ElementsAre());
}

TEST_F(MacHelperTest, neverRunsAProgramThatOthersSigned) {
    const auto mark = bundle + "/mark";
    write("quoxelin", "touch " + mark);
    sign("quoxelin", {@"quoxelin", @"OTHER67890"});
    EXPECT_EQ(run(pathOf("quoxelin"), {"up"}), interrupted);
    sign("quoxelin", { @"quoxelind", @(team) });
    EXPECT_EQ(run(pathOf("quoxelin"), {"up"}), interrupted);
    [stage::signatures().byPath removeObjectForKey:@(pathOf("quoxelin").c_str())];
    EXPECT_EQ(run(pathOf("quoxelin"), {"up"}), interrupted);
    EXPECT_FALSE(std::filesystem::exists(mark));
    EXPECT_THAT(log, ElementsAre(HasSubstr("its signature: signing error -67050"),
                                 HasSubstr("its signature: signing error -67050"),
                                 HasSubstr("its signature: signing error -67062")));
}

TEST_F(MacHelperTest, refusesOtherProgramsAndOtherArguments) {
    EXPECT_EQ(run("/bin/sh", {"-c", "true"}), interrupted);
    EXPECT_EQ(run(pathOf("../Resources/quoxelin"), {"up"}), interrupted);
    EXPECT_EQ(run(pathOf("quoxelin"), {"up", "--evil"}), interrupted);
    std::filesystem::remove(pathOf("quoxelin"));
    EXPECT_EQ(run(pathOf("quoxelin"), {"up"}), interrupted);
    EXPECT_THAT(log, ElementsAre(HasSubstr("Only the bundled programs are run."),
                                 HasSubstr("Only the bundled programs are run."),
                                 HasSubstr("The program is not run with these arguments."),
                                 HasSubstr("The program could not be started.")));
}

TEST_F(MacHelperTest, survivesMessagesThatAreNoCalls) {
    ::NSXPCConnection* const connection =
        [[::NSXPCConnection alloc] initWithMachServiceName:@(helper::machServiceName) options:0];
    connection.remoteObjectInterface =
        [NSXPCInterface interfaceWithProtocol:@protocol(HelperToolProtocol)];
    [connection resume];
    id<HelperToolProtocol> const farEnd =
        [connection remoteObjectProxyWithErrorHandler:^(NSError* error) {
            events.add("error " + std::to_string(error.code));
        }];
    const auto reply = ^(NSString*) {
        events.add("ran");
    };
    NSString* const path = @(pathOf("quoxelin").c_str());
    NSArray* const clumsy = @[ @1, @"up" ];
    NSMutableArray* const many = [NSMutableArray array];
    for (int count = 0; count < 10000; ++count)
        [many addObject:@"up"];
    NSString* const large = [@"" stringByPaddingToLength:1'000'000
                                              withString:@"/"
                                         startingAtIndex:0];
    NSString* const none = nil;
    NSArray* const nothing = nil;
    const auto isRefused = [&](NSString* what, NSArray* arguments) {
        const auto before = events.get().size();
        [farEnd runGoToolWithPath:what arguments:arguments withReply:reply];
        EXPECT_TRUE(events.arrive(before + 1));
        EXPECT_EQ(events.get().back(), interrupted);
    };
    isRefused(none, @[ @"up" ]);
    isRefused(path, nothing);
    isRefused(path, clumsy);
    isRefused(path, many);
    isRefused(large, @[]);
    isRefused(path, @[ large ]);
    [connection invalidate];
    EXPECT_THAT(log, ::testing::SizeIs(6));
    EXPECT_THAT(log, ::testing::Each(HasSubstr("The request is too large.")));
    EXPECT_EQ(ping(), "there");
}

TEST_F(MacHelperTest, givesAProgramNothingOfItsOwn) {
    write("quoxelin", "pwd; ls /proc/self/fd | tr '\\n' ' '; cat; env | grep -v -e ^PWD -e ^_ -e "
                      "^OLDPWD -e ^SHLVL | sort");
    EXPECT_EQ(run(pathOf("quoxelin"), {"up"}),
              "/\n0 1 2 3 LANG=C.UTF-8\nPATH=/usr/sbin:/usr/bin:/sbin:/bin\n");
}

TEST_F(MacHelperTest, leavesProgramsRunningWhenItEnds) {
    const auto done = bundle + "/done";
    startPrograms(1, "touch " + done);
    ASSERT_EQ(log.size(), 1u);
    listener.reset();
    letProgramsEnd();
    EXPECT_TRUE(comesTrue([&] { return std::filesystem::exists(done); }));
    EXPECT_TRUE(events.arrive());
    EXPECT_THAT(events.get(), ElementsAre(interrupted));
}

TEST_F(MacHelperTest, countsTheRefusalsThatTheLogLeftOut) {
    stage::signatures().user = 501;
    sendManyForbiddenRequests();
    ASSERT_EQ(log.size(), 20u);
    clock.advance(seconds(61) - Duration(1));
    EXPECT_EQ(log.size(), 20u);
    clock.advance(Duration(1));
    ASSERT_EQ(log.size(), 21u);
    EXPECT_EQ(log.back(), "refused user 501 5 more times");
    EXPECT_EQ(clock.nextInstant(), std::nullopt);
}

TEST_F(MacHelperTest, countsTheRefusalsOfAMinuteThatBeganAfterAnotherRequest) {
    EXPECT_EQ(run(pathOf("quoxelind"), {"--help"}), "daemon --help\n");
    clock.advance(seconds(30));
    stage::signatures().user = 501;
    sendManyForbiddenRequests();
    clock.advance(seconds(31));
    ASSERT_EQ(log.size(), 22u);
    clock.advance(seconds(61));
    EXPECT_EQ(log.back(), "refused user 501 5 more times");
    EXPECT_EQ(clock.nextInstant(), std::nullopt);
}

TEST_F(MacHelperTest, countsTheRefusalsOfRequestsThatWaited) {
    constexpr std::size_t running = 8, waiting = 25;
    stage::signatures().user = 501;
    startPrograms(running + waiting);
    ASSERT_EQ(log.size(), running);
    clock.advance(seconds(61));
    EXPECT_EQ(clock.nextInstant(), std::nullopt);
    sign("quoxelin", {@"quoxelin", @"OTHER67890"});
    letProgramsEnd();
    EXPECT_TRUE(events.arrive(running + waiting));
    clock.advance(seconds(61));
    EXPECT_EQ(log.back(), "refused user 501 5 more times");
}

TEST_F(MacHelperTest, leavesItsClientsAloneWhenItCounts) {
    startPrograms(1);
    sendManyForbiddenRequests();
    clock.advance(seconds(61));
    EXPECT_THAT(log.back(), HasSubstr("5 more times"));
    const auto before = events.get().size();
    letProgramsEnd();
    EXPECT_TRUE(events.arrive(before + 1));
    EXPECT_EQ(events.get().back(), "end\n");
    EXPECT_EQ(ping(), "there");
}

TEST_F(MacHelperTest, countsBySystemTime) {
    const auto time = helper::Listener::systemTime();
    const auto before = std::chrono::steady_clock::now();
    EXPECT_LE(before, time.now());
    Answers<std::string> due;
    time.later(std::chrono::hours(1), [&due] { due.add("in an hour"); });
    time.later(std::chrono::seconds(0), [&due] {
        EXPECT_TRUE([NSThread isMainThread]);
        due.add("at once");
    });
    EXPECT_TRUE(due.arrive());
    EXPECT_THAT(due.get(), ElementsAre("at once"));
}

TEST_F(MacHelperTest, isHeldToItsSignatureByTheApplication) {
    stage::signatures().byService[@"com.quoxelin.desktop.Helper"] =
        @[ @"com.quoxelin.desktop.Helper", @"OTHER67890" ];
    EXPECT_EQ(ping(), "error 4102");
}

} // namespace quoxelin::testing
