#include "Platform/macOS/MacSystemExtensions.h"

#include "Platform/macOS/ObjC.h"

#import <SystemExtensions/SystemExtensions.h>
#import <objc/runtime.h>

namespace quoxelin {

namespace {

static_assert(static_cast<int>(OSSystemExtensionError::requestCanceled) ==
              OSSystemExtensionErrorRequestCanceled);
static_assert(static_cast<int>(OSSystemExtensionError::requestSuperseded) ==
              OSSystemExtensionErrorRequestSuperseded);
static_assert(static_cast<int>(OSSystemExtensionError::authorizationRequired) ==
              OSSystemExtensionErrorAuthorizationRequired);
static_assert(static_cast<int>(OSSystemExtensionReplacementAction::replace) ==
              OSSystemExtensionReplacementActionReplace);
static_assert(static_cast<int>(OSSystemExtensionRequestResult::completed) ==
              OSSystemExtensionRequestCompleted);
static_assert(static_cast<int>(OSSystemExtensionRequestResult::willCompleteAfterReboot) ==
              OSSystemExtensionRequestWillCompleteAfterReboot);

OSSystemExtensionProperties recordOf(::OSSystemExtensionProperties* properties) {
    return {toString(properties.bundleIdentifier), toString(properties.bundleShortVersion),
            static_cast<bool>(properties.isEnabled),
            static_cast<bool>(properties.isAwaitingUserApproval)};
}

} // namespace

} // namespace quoxelin

/// Forwards the framework's calls to the request's delegate while that exists.
@interface QXExtensionRequestDelegate : NSObject <OSSystemExtensionRequestDelegate>
- (instancetype)initWithRequest:(const quoxelin::OSSystemExtensionRequest&)request;
@end

@implementation QXExtensionRequestDelegate {
    quoxelin::OSSystemExtensionRequest record;
}

- (instancetype)initWithRequest:(const quoxelin::OSSystemExtensionRequest&)request {
    if ((self = [super init]))
        record = request;
    return self;
}

- (OSSystemExtensionReplacementAction)request:(OSSystemExtensionRequest*)request
                  actionForReplacingExtension:(OSSystemExtensionProperties*)existing
                                withExtension:(OSSystemExtensionProperties*)extension {
    const auto delegate = record.delegate.lock();
    if (!delegate)
        return OSSystemExtensionReplacementActionCancel;
    const auto action = delegate->actionForReplacingExtension(record, quoxelin::recordOf(existing),
                                                              quoxelin::recordOf(extension));
    return static_cast<OSSystemExtensionReplacementAction>(action);
}

- (void)requestNeedsUserApproval:(OSSystemExtensionRequest*)request {
    if (const auto delegate = record.delegate.lock())
        delegate->requestNeedsUserApproval(record);
}

- (void)request:(OSSystemExtensionRequest*)request
    didFinishWithResult:(OSSystemExtensionRequestResult)result {
    if (const auto delegate = record.delegate.lock())
        delegate->didFinishWithResult(record, static_cast<int>(result));
}

- (void)request:(OSSystemExtensionRequest*)request didFailWithError:(NSError*)error {
    if (const auto delegate = record.delegate.lock())
        delegate->didFailWithError(record, quoxelin::toError(error));
}

- (void)request:(OSSystemExtensionRequest*)request
    foundProperties:(NSArray<OSSystemExtensionProperties*>*)properties {
    const auto delegate = record.delegate.lock();
    if (!delegate)
        return;
    std::vector<quoxelin::OSSystemExtensionProperties> found;
    for (OSSystemExtensionProperties* each in properties)
        found.push_back(quoxelin::recordOf(each));
    delegate->foundProperties(record, found);
}

@end

namespace quoxelin {

namespace {

::OSSystemExtensionRequest* frameworkRequest(const OSSystemExtensionRequest& request) {
    NSString* const identifier = toNSString(request.identifier);
    const dispatch_queue_t queue = dispatch_get_main_queue();
    switch (request.kind) {
    case OSSystemExtensionRequest::Kind::activation:
        return [::OSSystemExtensionRequest activationRequestForExtension:identifier queue:queue];
    case OSSystemExtensionRequest::Kind::properties:
        return [::OSSystemExtensionRequest propertiesRequestForExtension:identifier queue:queue];
    }
    return nil;
}

} // namespace

void MacSystemExtensions::submitRequest(const OSSystemExtensionRequest& request) {
    static const char delegateKey = 0;
    QXExtensionRequestDelegate* const delegate =
        [[QXExtensionRequestDelegate alloc] initWithRequest:request];
    const auto called = withoutExceptions([&] {
        ::OSSystemExtensionRequest* const submitted = frameworkRequest(request);
        submitted.delegate = delegate;
        // The request references its delegate weakly. Tie the delegate's lifetime to the request.
        objc_setAssociatedObject(submitted, &delegateKey, delegate,
                                 OBJC_ASSOCIATION_RETAIN_NONATOMIC);
        [[::OSSystemExtensionManager sharedManager] submitRequest:submitted];
    });
    if (called)
        return;
    // Answer asynchronously, as on success.
    const auto failure = called.error();
    const auto record = request;
    dispatch_async(dispatch_get_main_queue(), ^{
        if (const auto waiting = record.delegate.lock())
            waiting->didFailWithError(record, failure);
    });
}

} // namespace quoxelin
