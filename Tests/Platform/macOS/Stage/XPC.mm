#import <Foundation/Foundation.h>
#import <objc/runtime.h>

#import "Helper/macOS/QXHelperToolProtocol.h"
#import "Tests/Platform/macOS/Stage/Stage.h"
#import "Tests/Platform/macOS/Stage/StageServices.h"

using quoxelin::stage::machServices;

enum { connectionInterrupted = 4097, connectionInvalid = 4099, requirementFailed = 4102 };

static NSError* connectionError(NSInteger code) {
    return [NSError errorWithDomain:NSCocoaErrorDomain code:code userInfo:nil];
}

static const char stateKey = 0, delegateKey = 0;

/// The connection's state. Messages in flight retain it. The two ends of a connection to a listener
/// know each other.
@interface StageConnection : NSObject
@property(copy) NSString* service;
@property(strong) NSXPCConnection* serverEnd;
@property(weak) StageConnection* clientEnd;
@property(strong) id exportedObject;
@property(strong) NSXPCInterface* exportedInterface;
@property(copy) NSString* requirement;
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

static StageConnection* stageOf(NSXPCConnection* connection);

/// A resumed listener.
@interface StageListener : NSObject
@property(weak) NSXPCListener* listener;
@end

@implementation StageListener
@end

@implementation StageConnection

/// The service's object, or the reason why there is none.
- (id)receiver:(NSInteger*)code {
    id const service = machServices()[self.service];
    *code = service == nil ? connectionInvalid : 0;
    const auto& signatures = quoxelin::stage::signatures();
    if (self.requirement != nil &&
        !quoxelin::stage::satisfies(signatures.byService[self.service], self.requirement))
        *code = requirementFailed;
    if (*code != 0 || ![service isKindOfClass:[StageListener class]])
        return service;
    if (self.serverEnd == nil) {
        NSXPCListener* const listener = static_cast<StageListener*>(service).listener;
        NSXPCConnection* const end = [[NSXPCConnection alloc] initWithMachServiceName:@""
                                                                              options:0];
        stageOf(end).clientEnd = self;
        if (![listener.delegate listener:listener shouldAcceptNewConnection:end]) {
            *code = connectionInvalid;
            return nil;
        }
        self.serverEnd = end;
    }
    StageConnection* const far = stageOf(self.serverEnd);
    if (!far.isResumed)
        [NSException raise:NSInternalInconsistencyException format:@"it was not resumed"];
    if (far.requirement != nil && !quoxelin::stage::satisfies(signatures.own, far.requirement)) {
        [self.serverEnd invalidate];
        *code = connectionInterrupted;
    }
    return far.exportedObject;
}

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
/// returns whether the message still expects one. A failing operation leaves the connection open.
- (void)send:(NSString*)operation
         deliver:(void (^)(id receiver, BOOL (^take)(void)))deliver
    errorHandler:(void (^)(NSError*))errorHandler {
    NSError* const error = quoxelin::stage::outcomeOf(operation);
    if (!self.isResumed)
        [NSException raise:NSInternalInconsistencyException format:@"it was not resumed"];
    void (^const failed)(NSError*) = [errorHandler copy];
    dispatch_async(self.queue, ^{
        if (error != nil) {
            failed(error);
            return;
        }
        NSInteger code = connectionInvalid;
        id const receiver = self.isInvalid ? nil : [self receiver:&code];
        if (code != 0) {
            failed(connectionError(code));
            if (code != connectionInterrupted)
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
    [self.serverEnd invalidate];
    self.serverEnd = nil;
    StageConnection* const client = self.clientEnd;
    if (client != nil)
        dispatch_async(client.queue, ^{
            client.serverEnd = nil;
            if (!client.isInvalid)
                [client serviceDidEnd];
        });
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
    [connection send:@"runGoToolWithPath"
             deliver:^(id receiver, BOOL (^take)(void)) {
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
    [connection send:@"ping"
             deliver:^(id receiver, BOOL (^take)(void)) {
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

- (void)setClasses:(NSSet*)classes
       forSelector:(SEL)selector
     argumentIndex:(NSUInteger)argument
           ofReply:(BOOL)isOfReply {
    // Messages reach the receiver unchecked, so it must tolerate anything.
}

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

- (void)setExportedInterface:(NSXPCInterface*)interface {
    stageOf(self).exportedInterface = interface;
}

- (NSXPCInterface*)exportedInterface {
    return stageOf(self).exportedInterface;
}

- (void)setExportedObject:(id)object {
    stageOf(self).exportedObject = object;
}

- (id)exportedObject {
    return stageOf(self).exportedObject;
}

- (void)setCodeSigningRequirement:(NSString*)requirement {
    if (stageOf(self).isResumed)
        [NSException raise:NSInternalInconsistencyException format:@"it was resumed before"];
    stageOf(self).requirement = requirement;
}

- (uid_t)effectiveUserIdentifier {
    return quoxelin::stage::signatures().user;
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

@implementation NSXPCListener (Stage)

- (instancetype)initWithMachServiceName:(NSString*)name {
    if ((self = [super init]))
        objc_setAssociatedObject(self, &stateKey, name, OBJC_ASSOCIATION_COPY);
    return self;
}

- (void)setDelegate:(id<NSXPCListenerDelegate>)delegate {
    NSHashTable* const held = [NSHashTable weakObjectsHashTable];
    [held addObject:delegate];
    objc_setAssociatedObject(self, &delegateKey, held, OBJC_ASSOCIATION_RETAIN);
}

- (id<NSXPCListenerDelegate>)delegate {
    return static_cast<NSHashTable*>(objc_getAssociatedObject(self, &delegateKey)).anyObject;
}

- (void)resume {
    StageListener* const entry = [[StageListener alloc] init];
    entry.listener = self;
    machServices()[objc_getAssociatedObject(self, &stateKey)] = entry;
}

- (void)invalidate {
    quoxelin::stage::endMachService(objc_getAssociatedObject(self, &stateKey));
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
