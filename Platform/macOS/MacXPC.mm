#include "Platform/macOS/MacXPC.h"

#include "Helper/macOS/CodeSigning.h"
#include "Helper/macOS/QXHelperToolProtocol.h"
#include "Platform/ServiceManagement.h"
#include "Platform/macOS/ObjC.h"
#include "Platform/macOS/SMAppServiceDeclaration.h"

namespace quoxelin {

namespace {

using ErrorHandler = std::function<void(const Error&)>;

/// Keeps connections from resume to failure, because the framework closes a connection that is
/// not retained.
NSMutableSet<::NSXPCConnection*>* openConnections() {
    static NSMutableSet<::NSXPCConnection*>* const connections = [NSMutableSet set];
    return connections;
}

/// Counts those connections.
dispatch_group_t openOnes() {
    static const dispatch_group_t group = dispatch_group_create();
    return group;
}

void keepOpen(::NSXPCConnection* connection) {
    @synchronized(openConnections()) {
        [openConnections() addObject:connection];
        dispatch_group_enter(openOnes());
    }
}

void letGo(::NSXPCConnection* connection) {
    @synchronized(openConnections()) {
        if (![openConnections() containsObject:connection])
            return;
        [openConnections() removeObject:connection];
        dispatch_group_leave(openOnes());
    }
}

class HelperTool final : public HelperToolProtocol {
  public:
    HelperTool(id<HelperToolProtocol> proxy, ErrorHandler failed)
        : proxy(proxy), failed(std::move(failed)) {}

    void runGoToolWithPath(const std::string& path, const std::vector<std::string>& arguments,
                           std::function<void(std::string output)> reply) override {
        NSMutableArray<NSString*>* const words = [NSMutableArray array];
        for (const auto& argument : arguments)
            [words addObject:toNSString(argument)];
        const auto replied = ^(NSString* output) {
            reply(toString(output));
        };
        send([&] { [proxy runGoToolWithPath:toNSString(path) arguments:words withReply:replied]; });
    }

    void pingWithReply(std::function<void(bool)> reply) override {
        const auto replied = ^(BOOL isThere) {
            reply(isThere);
        };
        send([&] { [proxy pingWithReply:replied]; });
    }

  private:
    template <typename Message> void send(Message message) {
        const auto sent = withoutExceptions(message);
        if (!sent)
            failed(sent.error());
    }

    id<HelperToolProtocol> proxy;
    ErrorHandler failed;
};

/// Whether launchd starts the helper for a message. The framework returns a proxy in any case.
bool isHelperEnabled() {
    ::SMAppService* const service =
        [::SMAppService daemonServiceWithPlistName:@"com.quoxelin.desktop.helper.plist"];
    return service.status == static_cast<NSInteger>(SMAppServiceStatus::enabled);
}

class Connection final : public NSXPCConnection {
  public:
    explicit Connection(::NSXPCConnection* connection) : connection(connection) {
        setInterruptionHandler(nullptr);
        setInvalidationHandler(nullptr);
    }

    void setInterruptionHandler(std::function<void()> handler) override {
        connection.interruptionHandler = lettingGo(std::move(handler));
    }

    void setInvalidationHandler(std::function<void()> handler) override {
        connection.invalidationHandler = lettingGo(std::move(handler));
    }

    void resume() override {
        keepOpen(connection);
        [connection resume];
    }

    void remoteObjectProxyWithErrorHandler(
        ErrorHandler handler,
        std::function<void(std::shared_ptr<HelperToolProtocol>)> completion) override {
        if (!isHelperEnabled()) {
            completion(nullptr);
            return;
        }
        const auto ended = lettingGo(nullptr);
        id proxy = [connection remoteObjectProxyWithErrorHandler:^(NSError* error) {
            handler(toError(error));
            ended();
        }];
        if ([proxy conformsToProtocol:@protocol(HelperToolProtocol)])
            completion(std::make_shared<HelperTool>(proxy, handler));
        else
            completion(nullptr);
    }

    void invalidate() override { [connection invalidate]; }

  private:
    /// Calls `handler`, then stops tracking the connection.
    dispatch_block_t lettingGo(std::function<void()> handler) {
        __weak ::NSXPCConnection* const failed = connection;
        return ^{
            // The connection owns this handler, so keep it alive until the handler returns.
            ::NSXPCConnection* const held = failed;
            if (handler)
                handler();
            if (held != nil)
                letGo(held);
        };
    }

    ::NSXPCConnection* connection;
};

} // namespace

std::shared_ptr<NSXPCConnection> MacXPC::privilegedConnection(const std::string& machServiceName) {
    ::NSXPCConnection* const connection =
        [[::NSXPCConnection alloc] initWithMachServiceName:toNSString(machServiceName)
                                                   options:NSXPCConnectionPrivileged];
    connection.remoteObjectInterface =
        [NSXPCInterface interfaceWithProtocol:@protocol(HelperToolProtocol)];
    // A build without a team has no signature to compare the helper's with.
    if (const auto team = helper::teamOfThisProgram())
        [connection
            setCodeSigningRequirement:toNSString(helper::requirementFor(machServiceName, *team))];
    return std::make_shared<Connection>(connection);
}

void MacXPC::awaitReplies(Duration patience) {
    dispatch_group_wait(openOnes(), dispatch_time(DISPATCH_TIME_NOW, patience.count()));
}

} // namespace quoxelin
