#include "Helper/macOS/Listener.h"

#include "Helper/Requests.h"
#include "Helper/macOS/CodeSigning.h"
#include "Helper/macOS/QXHelperToolProtocol.h"
#include "Helper/macOS/VerifiedSpawn.h"

#include <cerrno>
#include <dispatch/dispatch.h>
#include <sys/wait.h>
#include <thread>

@class QXHelperDelegate;

namespace quoxelin::helper {

namespace {

std::string textOf(NSString* text) {
    NSData* const bytes = [text dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
    return {static_cast<const char*>(bytes.bytes), bytes.length};
}

std::string howItEnded(int status) {
    return WIFEXITED(status) ? "exit code " + std::to_string(WEXITSTATUS(status))
                             : "ended by signal " + std::to_string(WTERMSIG(status));
}

/// A refusal's minute is over by then, even if it began while the request was handled.
constexpr std::chrono::seconds countInterval{61};

struct Call {
    std::string path;
    Arguments arguments;
};

/// Empty if it is another call or exceeds the limits.
std::optional<Call> unpack(NSString* path, NSArray* arguments) {
    const auto isText = [](id value, std::size_t longest) {
        return [value isKindOfClass:[NSString class]] &&
               static_cast<NSString*>(value).length <= longest;
    };
    if (!isText(path, longestPath) || ![arguments isKindOfClass:[NSArray class]] ||
        arguments.count > mostArguments)
        return std::nullopt;
    Call call{textOf(path), {}};
    for (id argument in arguments) {
        if (!isText(argument, longestArgument))
            return std::nullopt;
        call.arguments.push_back(textOf(argument));
    }
    return call;
}

} // namespace

struct ListenerState {
    ListenerState(std::string bundleRoot, std::string team,
                  std::function<void(const std::string&)> write, Listener::Time time);

    /// Accepts a connection and gives it a name.
    std::string admit(uid_t user);
    void end(const std::string& caller);
    /// Logs, when their minutes are over, how many refusals the log left out.
    void countLater();
    tl::expected<pid_t, std::string> start(const Arguments& words, Requests::Finished finished);

    std::weak_ptr<ListenerState> self;
    std::string team;
    Listener::Time time;
    unsigned long admitted = 0;
    bool isCounting = false;
    std::map<std::string, uid_t> users;
    Requests requests;
    ::NSXPCListener* listener = nil;
    QXHelperDelegate* delegate = nil;
};

ListenerState::ListenerState(std::string bundleRoot, std::string team,
                             std::function<void(const std::string&)> write, Listener::Time time)
    : team(std::move(team)), time(std::move(time)),
      requests({
          bundleRoot,
          [this](const std::string& caller, std::function<void(std::optional<uid_t>)> answer) {
              const auto found = users.find(caller);
              answer(found == users.end() ? std::nullopt : std::optional(found->second));
          },
          // Its signature has let it in.
          [](const Requests::Question&, std::function<void(bool)> answer) {
              answer(true);
              return nullptr;
          },
          [this, bundleRoot](const std::string&) {
              return signedPropertyList(bundleRoot,
                                        requirementFor(applicationIdentifier, this->team));
          },
          // Its process is verified, which the owner of the file cannot get round.
          [](const std::string&) { return TrustedFile{}; },
          [this](const TrustedFile&, const Arguments& words, Requests::Finished finished) {
              return start(words, std::move(finished));
          },
          std::move(write),
          this->time.now,
      }) {}

std::string ListenerState::admit(uid_t user) {
    auto caller = "connection " + std::to_string(++admitted);
    users[caller] = user;
    return caller;
}

void ListenerState::end(const std::string& caller) {
    users.erase(caller);
    requests.callerHasGone(caller);
}

void ListenerState::countLater() {
    if (std::exchange(isCounting, true))
        return;
    time.later(countInterval, [later = self] {
        const auto state = later.lock();
        if (!state)
            return;
        state->isCounting = false;
        if (state->requests.writeCounts())
            state->countLater();
    });
}

tl::expected<pid_t, std::string> ListenerState::start(const Arguments& words,
                                                      Requests::Finished finished) {
    const auto name = words.front().substr(words.front().rfind('/') + 1);
    auto spawned = spawnVerified(
        words, [&](pid_t process) { return verifyProcess(process, requirementFor(name, team)); });
    if (!spawned)
        return tl::unexpected(spawned.error());
    const pid_t process = spawned->process;
    const auto program = std::make_shared<Spawned>(std::move(*spawned));
    const auto later = self;
    std::thread([program, later, finished] {
        int status = 0;
        while (::waitpid(program->process, &status, 0) < 0 && errno == EINTR) {
        }
        dispatch_async(dispatch_get_main_queue(), ^{
            const auto state = later.lock();
            if (!state)
                return;
            // Requests that waited for this program's end may be refused now.
            state->countLater();
            finished(outputOf(*program), howItEnded(status));
        });
    }).detach();
    return process;
}

} // namespace quoxelin::helper

using quoxelin::helper::ListenerState;

/// The exported object of one connection. Messages arrive on the connection's queue and are
/// answered on the main thread.
@interface QXHelperClient : NSObject <HelperToolProtocol> {
  @public
    std::weak_ptr<ListenerState> state;
    std::string caller;
}
@property(weak)::NSXPCConnection* connection;
@end

@implementation QXHelperClient

- (void)runGoToolWithPath:(NSString*)path
                arguments:(NSArray<NSString*>*)arguments
                withReply:(void (^)(NSString* output))reply {
    const auto call = quoxelin::helper::unpack(path, arguments);
    __weak ::NSXPCConnection* const asking = self.connection;
    dispatch_async(dispatch_get_main_queue(), ^{
        const auto present = self->state.lock();
        if (!present)
            return;
        const auto answer =
            [reply, asking](const tl::expected<std::string, quoxelin::helper::Refusal>& outcome) {
                if (!outcome)
                    [asking invalidate];
                else if (reply != nil)
                    reply([NSString stringWithUTF8String:outcome->c_str()]);
            };
        present->countLater();
        if (call)
            present->requests.runGoTool(self->caller, call->path, call->arguments, answer);
        else
            present->requests.refuseUnread(self->caller, answer);
    });
}

- (void)pingWithReply:(void (^)(BOOL isThere))reply {
    if (reply != nil)
        reply(YES);
}

@end

@interface QXHelperDelegate : NSObject <NSXPCListenerDelegate> {
  @public
    std::weak_ptr<ListenerState> state;
    NSString* requirement;
}
@end

@implementation QXHelperDelegate

- (BOOL)listener:(::NSXPCListener*)listener
    shouldAcceptNewConnection:(::NSXPCConnection*)connection {
    QXHelperClient* const client = [[QXHelperClient alloc] init];
    client->state = state;
    client.connection = connection;
    const uid_t user = connection.effectiveUserIdentifier;
    // Before anything that its messages do there.
    dispatch_async(dispatch_get_main_queue(), ^{
        if (const auto present = client->state.lock())
            client->caller = present->admit(user);
    });
    connection.invalidationHandler = ^{
        dispatch_async(dispatch_get_main_queue(), ^{
            if (const auto present = client->state.lock())
                present->end(client->caller);
        });
    };
    NSXPCInterface* const interface =
        [NSXPCInterface interfaceWithProtocol:@protocol(HelperToolProtocol)];
    [interface setClasses:[NSSet setWithObjects:[NSArray class], [NSString class], nil]
              forSelector:@selector(runGoToolWithPath:arguments:withReply:)
            argumentIndex:1
                  ofReply:NO];
    connection.exportedInterface = interface;
    connection.exportedObject = client;
    [connection setCodeSigningRequirement:requirement];
    [connection resume];
    return YES;
}

@end

namespace quoxelin::helper {

Listener::Time Listener::systemTime() {
    return {&RefusalLog::Clock::now, [](std::chrono::seconds delay, std::function<void()> work) {
                const auto span = static_cast<int64_t>(delay.count() * NSEC_PER_SEC);
                dispatch_after(dispatch_time(DISPATCH_TIME_NOW, span), dispatch_get_main_queue(), ^{
                    work();
                });
            }};
}

Listener::Listener(std::string bundleRoot, std::string team,
                   std::function<void(const std::string&)> write, Time time)
    : state(std::make_shared<ListenerState>(std::move(bundleRoot), team, std::move(write),
                                            std::move(time))) {
    state->self = state;
    state->delegate = [[QXHelperDelegate alloc] init];
    state->delegate->state = state;
    state->delegate->requirement =
        [NSString stringWithUTF8String:requirementFor(applicationIdentifier, team).c_str()];
    state->listener = [[::NSXPCListener alloc]
        initWithMachServiceName:[NSString stringWithUTF8String:machServiceName]];
    state->listener.delegate = state->delegate;
    [state->listener resume];
}

Listener::~Listener() {
    [state->listener invalidate];
}

} // namespace quoxelin::helper
