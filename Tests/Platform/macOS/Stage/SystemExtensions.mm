#import <SystemExtensions/SystemExtensions.h>

#import "Tests/Platform/macOS/Stage/Stage.h"
#import "Tests/Platform/macOS/Stage/StageServices.h"

using quoxelin::stage::answerLater;

NSString* const OSSystemExtensionErrorDomain = @"OSSystemExtensionErrorDomain";

@interface OSSystemExtensionProperties ()
@property(copy) NSString* bundleIdentifier;
@property(copy) NSString* bundleShortVersion;
@property BOOL isEnabled;
@property BOOL isAwaitingUserApproval;
@end

@implementation OSSystemExtensionProperties
@end

static OSSystemExtensionProperties* propertiesOf(NSString* identifier, NSString* version) {
    OSSystemExtensionProperties* const made = [[OSSystemExtensionProperties alloc] init];
    made.bundleIdentifier = identifier;
    made.bundleShortVersion = version;
    made.isEnabled = YES;
    return made;
}

namespace quoxelin::stage {

ExtensionState& extensions() {
    static ExtensionState state;
    static dispatch_once_t once;
    dispatch_once(&once, ^{
        onReset(^{
            state = ExtensionState();
        });
    });
    return state;
}

} // namespace quoxelin::stage

using quoxelin::stage::extensions;

@interface OSSystemExtensionRequest ()
@property(copy) NSString* identifier;
@property dispatch_queue_t queue;
@property BOOL asksForProperties;
@end

@implementation OSSystemExtensionRequest

+ (instancetype)activationRequestForExtension:(NSString*)identifier queue:(dispatch_queue_t)queue {
    OSSystemExtensionRequest* const made = [[self alloc] init];
    made.identifier = identifier;
    made.queue = queue;
    return made;
}

+ (instancetype)propertiesRequestForExtension:(NSString*)identifier queue:(dispatch_queue_t)queue {
    OSSystemExtensionRequest* const made = [self activationRequestForExtension:identifier
                                                                         queue:queue];
    made.asksForProperties = YES;
    return made;
}

- (void)answerProperties {
    NSString* const version = extensions().installed[self.identifier];
    [self.delegate request:self
           foundProperties:version == nil ? @[] : @[ propertiesOf(self.identifier, version) ]];
}

- (void)activate {
    NSString* const present = extensions().installed[self.identifier];
    NSString* const offered = extensions().bundledVersion;
    if (present != nil) {
        const auto action = [self.delegate request:self
                       actionForReplacingExtension:propertiesOf(self.identifier, present)
                                     withExtension:propertiesOf(self.identifier, offered)];
        if (action == OSSystemExtensionReplacementActionCancel) {
            [self failWith:OSSystemExtensionErrorRequestCanceled];
            return;
        }
    } else if (!extensions().isApproved) {
        [self.delegate requestNeedsUserApproval:self];
    }
    answerLater(@"approval", self.queue, ^(NSError* error) {
        if (error != nil) {
            [self.delegate request:self didFailWithError:error];
            return;
        }
        extensions().isApproved = true;
        extensions().installed[self.identifier] = offered;
        [self.delegate request:self didFinishWithResult:OSSystemExtensionRequestCompleted];
    });
}

- (void)failWith:(OSSystemExtensionErrorCode)code {
    [self.delegate request:self
          didFailWithError:[NSError errorWithDomain:OSSystemExtensionErrorDomain
                                               code:code
                                           userInfo:nil]];
}

@end

@implementation OSSystemExtensionManager

+ (OSSystemExtensionManager*)sharedManager {
    static OSSystemExtensionManager* const one = [[self alloc] init];
    return one;
}

- (void)submitRequest:(OSSystemExtensionRequest*)request {
    if (request.delegate == nil)
        [NSException raise:NSInvalidArgumentException format:@"a request needs its delegate"];
    answerLater(@"submitRequest", request.queue, ^(NSError* error) {
        if (error != nil)
            [request.delegate request:request didFailWithError:error];
        else if (request.asksForProperties)
            [request answerProperties];
        else
            [request activate];
    });
}

@end
