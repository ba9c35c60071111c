#include "Helper/macOS/Listener.h"
#include "Platform/ServiceManagement.h"
#include "Platform/macOS/MacXPC.h"
#include "Tests/Platform/macOS/Services/ServiceFixture.h"

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
        listener.emplace(bundle, team, [this](const std::string& line) {
            EXPECT_TRUE([NSThread isMainThread]);
            log.push_back(line);
        });
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

    MacXPC xpc;
    std::string bundle;
    std::vector<std::string> log;
    std::optional<helper::Listener> listener;
    Answers<std::string> events;
    std::vector<std::shared_ptr<NSXPCConnection>> connections;
};

constexpr const char* interrupted = "error 4097";

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
    EXPECT_EQ(ping(), "there");
}

TEST_F(MacHelperTest, givesAProgramNothingOfItsOwn) {
    write("quoxelin", "pwd; ls /proc/self/fd | tr '\\n' ' '; cat; env | grep -v -e ^PWD -e ^_ -e "
                      "^OLDPWD -e ^SHLVL | sort");
    EXPECT_EQ(run(pathOf("quoxelin"), {"up"}),
              "/\n0 1 2 3 LANG=C.UTF-8\nPATH=/usr/sbin:/usr/bin:/sbin:/bin\n");
}

TEST_F(MacHelperTest, leavesProgramsRunningWhenItEnds) {
    const auto go = bundle + "/go";
    const auto done = bundle + "/done";
    write("quoxelin", "while [ ! -e " + go + " ]; do sleep 0.01; done; echo end; touch " + done);
    helper()->runGoToolWithPath(pathOf("quoxelin"), {"up"},
                                [this](const std::string& output) { events.add(output); });
    ASSERT_TRUE(comesTrue([this] { return log.size() == 1; }));
    listener.reset();
    std::ofstream(go) << "go";
    EXPECT_TRUE(comesTrue([&] { return std::filesystem::exists(done); }));
    EXPECT_TRUE(events.arrive());
    EXPECT_THAT(events.get(), ElementsAre(interrupted));
}

TEST_F(MacHelperTest, isHeldToItsSignatureByTheApplication) {
    stage::signatures().byService[@"com.quoxelin.desktop.Helper"] =
        @[ @"com.quoxelin.desktop.Helper", @"OTHER67890" ];
    EXPECT_EQ(ping(), "error 4102");
}

} // namespace quoxelin::testing
