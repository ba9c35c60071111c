#import <Foundation/Foundation.h>
#import <objc/runtime.h>

#import "Platform/macOS/QXHelperToolProtocol.h"
#import "Tests/Platform/macOS/Stage/Stage.h"
#import "Tests/Platform/macOS/Stage/StageServices.h"

using quoxelin::stage::machServices;

enum { connectionInterrupted = 4097, connectionInvalid = 4099 };

static NSError* connectionError(NSInteger code) {
    return [NSError errorWithDomain:NSCocoaErrorDomain code:code userInfo:nil];
}

static const char stateKey = 0;

/// The connection's state. Messages in flight retain it.
@interface StageConnection : NSObject
@property(copy) NSString* service;
@property(strong) Protocol* protocol;
@property(copy) void (^interruptionHandler)(void);
@property(copy) void (^invalidationHandler)(void);
/// The error handlers of messages without a reply.
@property(strong) NSMutableDictionary<NSUUID*, void (^)(NSError*)>* waiting;
@property BOOL isResumed;
@property BOOL isInvalid;
/// Invalid, and its handlers have been called.
@property BOOL isClosed;
@property(readonly) dispatch_queue_t queue;
@end

static NSHashTable<StageConnection*>* connections() {
    static NSHashTable* const all = [NSHashTable weakObjectsHashTable];
    return all;
}

@implementation StageConnection

- (instancetype)init {
    if ((self = [super init])) {
        _queue = dispatch_queue_create("connection", nullptr);
        self.waiting = [NSMutableDictionary dictionary];
        @synchronized(connections()) {
            [connections() addObject:self];
        }
    }
    return self;
}

/// Sends a message: `deliver` gets the receiver, and a block to call before a reply. The block
/// returns whether the message still expects one.
- (void)send:(void (^)(id receiver, BOOL (^take)(void)))deliver
    errorHandler:(void (^)(NSError*))errorHandler {
    if (!self.isResumed)
        [NSException raise:NSInternalInconsistencyException format:@"it was not resumed"];
    void (^const failed)(NSError*) = [errorHandler copy];
    dispatch_async(self.queue, ^{
        id const receiver = machServices()[self.service];
        if (self.isInvalid || receiver == nil) {
            failed(connectionError(connectionInvalid));
            [self becomeInvalid];
            return;
        }
        NSUUID* const message = [NSUUID UUID];
        self.waiting[message] = failed;
        deliver(receiver, ^{
            const BOOL wasWaiting = self.waiting[message] != nil;
            [self.waiting removeObjectForKey:message];
            return wasWaiting;
        });
    });
}

- (void)failWaiting:(NSInteger)code {
    NSArray* const unanswered = self.waiting.allValues;
    [self.waiting removeAllObjects];
    for (void (^failed)(NSError*) in unanswered)
        failed(connectionError(code));
}

- (void)becomeInvalid {
    if (self.isInvalid)
        return;
    self.isInvalid = YES;
    [self failWaiting:connectionInvalid];
    void (^const handler)(void) = self.invalidationHandler;
    self.interruptionHandler = nil;
    self.invalidationHandler = nil;
    if (handler != nil)
        handler();
    self.isClosed = YES;
}

- (void)serviceDidEnd {
    [self failWaiting:connectionInterrupted];
    if (self.interruptionHandler != nil)
        self.interruptionHandler();
}

@end

/// The remote object's proxy. It exists even without a service.
@interface StageProxy : NSObject
@property(strong) StageConnection* connection;
@property(copy) void (^errorHandler)(NSError*);
@end

@implementation StageProxy

- (BOOL)conformsToProtocol:(Protocol*)protocol {
    return protocol_isEqual(protocol, self.connection.protocol) ||
           [super conformsToProtocol:protocol];
}

- (void)runGoToolWithPath:(NSString*)path
                arguments:(NSArray<NSString*>*)arguments
                withReply:(void (^)(NSString*))reply {
    StageConnection* const connection = self.connection;
    quoxelin::stage::outcomeOf(@"runGoToolWithPath");
    [connection
                send:^(id receiver, BOOL (^take)(void)) {
                    [receiver runGoToolWithPath:path
                                      arguments:arguments
                                      withReply:^(NSString* output) {
                                          dispatch_async(connection.queue, ^{
                                              if (take())
                                                  reply(output);
                                          });
                                      }];
                }
        errorHandler:self.errorHandler];
}

- (void)pingWithReply:(void (^)(BOOL))reply {
    StageConnection* const connection = self.connection;
    quoxelin::stage::outcomeOf(@"ping");
    [connection
                send:^(id receiver, BOOL (^take)(void)) {
                    [receiver pingWithReply:^(BOOL isThere) {
                        dispatch_async(connection.queue, ^{
                            if (take())
                                reply(isThere);
                        });
                    }];
                }
        errorHandler:self.errorHandler];
}

@end

@implementation NSXPCInterface (Stage)

+ (NSXPCInterface*)interfaceWithProtocol:(Protocol*)protocol {
    NSXPCInterface* const made = [[self alloc] init];
    objc_setAssociatedObject(made, &stateKey, protocol, OBJC_ASSOCIATION_RETAIN);
    return made;
}

@end

/// Invalidates the connection when its NSXPCConnection is deallocated.
@interface StageConnectionOwner : NSObject
@property(strong) StageConnection* connection;
@end

@implementation StageConnectionOwner

- (void)dealloc {
    StageConnection* const connection = _connection;
    dispatch_async(connection.queue, ^{
        [connection becomeInvalid];
    });
}

@end

static StageConnection* stageOf(NSXPCConnection* connection) {
    const id owner = objc_getAssociatedObject(connection, &stateKey);
    return static_cast<StageConnectionOwner*>(owner).connection;
}

@implementation NSXPCConnection (Stage)

- (instancetype)initWithMachServiceName:(NSString*)name options:(NSXPCConnectionOptions)options {
    if ((self = [super init])) {
        StageConnectionOwner* const owner = [[StageConnectionOwner alloc] init];
        owner.connection = [[StageConnection alloc] init];
        owner.connection.service = name;
        objc_setAssociatedObject(self, &stateKey, owner, OBJC_ASSOCIATION_RETAIN);
    }
    return self;
}

- (void)setRemoteObjectInterface:(NSXPCInterface*)interface {
    stageOf(self).protocol = objc_getAssociatedObject(interface, &stateKey);
}

- (void (^)(void))interruptionHandler {
    return stageOf(self).interruptionHandler;
}

- (void)setInterruptionHandler:(void (^)(void))handler {
    stageOf(self).interruptionHandler = handler;
}

- (void (^)(void))invalidationHandler {
    return stageOf(self).invalidationHandler;
}

- (void)setInvalidationHandler:(void (^)(void))handler {
    stageOf(self).invalidationHandler = handler;
}

- (id)remoteObjectProxyWithErrorHandler:(void (^)(NSError*))handler {
    StageProxy* const proxy = [[StageProxy alloc] init];
    proxy.connection = stageOf(self);
    proxy.errorHandler = handler;
    return proxy;
}

- (void)resume {
    if (stageOf(self).isResumed)
        [NSException raise:NSInternalInconsistencyException format:@"it was resumed before"];
    stageOf(self).isResumed = YES;
}

- (void)invalidate {
    StageConnection* const connection = stageOf(self);
    dispatch_async(connection.queue, ^{
        [connection becomeInvalid];
    });
}

@end

namespace quoxelin::stage {

NSMutableDictionary<NSString*, id>* machServices() {
    static NSMutableDictionary<NSString*, id>* const all = [NSMutableDictionary dictionary];
    static dispatch_once_t once;
    dispatch_once(&once, ^{
        onReset(^{
            [all removeAllObjects];
        });
    });
    return all;
}

void endMachService(NSString* name) {
    [machServices() removeObjectForKey:name];
    NSArray<StageConnection*>* open = nil;
    @synchronized(connections()) {
        open = connections().allObjects;
    }
    for (StageConnection* each in open)
        if ([each.service isEqualToString:name])
            dispatch_async(each.queue, ^{
                [each serviceDidEnd];
            });
}

NSUInteger countOfConnections() {
    NSUInteger count = 0;
    @synchronized(connections()) {
        for (StageConnection* each in connections().allObjects)
            if (!each.isClosed)
                ++count;
    }
    return count;
}

} // namespace quoxelin::stage
