#include "Platform/macOS/MacXPC.h"

#include "Platform/macOS/ObjC.h"
#include "Platform/macOS/QXHelperToolProtocol.h"

namespace quoxelin {

namespace {

using ErrorHandler = std::function<void(const Error&)>;

/// Connections that have been resumed and not yet invalidated: the framework closes one that nobody
/// holds.
NSMutableSet<::NSXPCConnection*>* openConnections() {
    static NSMutableSet<::NSXPCConnection*>* const connections = [NSMutableSet set];
    return connections;
}

/// Empty while there are none of those.
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
        send([&] {
            [proxy runGoToolWithPath:toNSString(path)
                           arguments:words
                           withReply:^(NSString* output) {
                               reply(toString(output));
                           }];
        });
    }

    void pingWithReply(std::function<void(bool)> reply) override {
        send([&] {
            [proxy pingWithReply:^(BOOL isThere) {
                reply(isThere);
            }];
        });
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

class Connection final : public NSXPCConnection {
  public:
    explicit Connection(::NSXPCConnection* connection) : connection(connection) {
        setInvalidationHandler(nullptr);
    }

    void setInterruptionHandler(std::function<void()> handler) override {
        connection.interruptionHandler = ^{
            if (handler)
                handler();
        };
    }

    void setInvalidationHandler(std::function<void()> handler) override {
        __weak ::NSXPCConnection* const invalidated = connection;
        connection.invalidationHandler = ^{
            // Kept to the end of the handler, which is the connection's own.
            ::NSXPCConnection* const held = invalidated;
            if (handler)
                handler();
            if (held != nil)
                letGo(held);
        };
    }

    void resume() override {
        keepOpen(connection);
        [connection resume];
    }

    void remoteObjectProxyWithErrorHandler(
        ErrorHandler handler,
        std::function<void(std::shared_ptr<HelperToolProtocol>)> completion) override {
        id proxy = [connection remoteObjectProxyWithErrorHandler:^(NSError* error) {
            handler(toError(error));
        }];
        if ([proxy conformsToProtocol:@protocol(HelperToolProtocol)])
            completion(std::make_shared<HelperTool>(proxy, handler));
        else
            completion(nullptr);
    }

    void invalidate() override { [connection invalidate]; }

  private:
    ::NSXPCConnection* connection;
};

} // namespace

std::shared_ptr<NSXPCConnection> MacXPC::privilegedConnection(const std::string& machServiceName) {
    ::NSXPCConnection* const connection =
        [[::NSXPCConnection alloc] initWithMachServiceName:toNSString(machServiceName)
                                                   options:NSXPCConnectionPrivileged];
    connection.remoteObjectInterface =
        [NSXPCInterface interfaceWithProtocol:@protocol(HelperToolProtocol)];
    return std::make_shared<Connection>(connection);
}

void MacXPC::awaitReplies(Duration patience) {
    dispatch_group_wait(openOnes(), dispatch_time(DISPATCH_TIME_NOW, patience.count()));
}

} // namespace quoxelin
