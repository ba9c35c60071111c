#import "Platform/macOS/SMAppServiceDeclaration.h"

#import "Tests/Platform/macOS/Stage/Stage.h"
#import "Tests/Platform/macOS/Stage/StageServices.h"

namespace quoxelin::stage {

NSMutableDictionary<NSString*, NSNumber*>* serviceStatus() {
    static NSMutableDictionary<NSString*, NSNumber*>* const all = [NSMutableDictionary dictionary];
    static dispatch_once_t once;
    dispatch_once(&once, ^{
        onReset(^{
            [all removeAllObjects];
        });
    });
    return all;
}

} // namespace quoxelin::stage

using quoxelin::stage::outcomeOf;
using quoxelin::stage::serviceStatus;

@implementation SMAppService {
    NSString* name;
}

+ (SMAppService*)mainAppService {
    return [self daemonServiceWithPlistName:@""];
}

+ (instancetype)daemonServiceWithPlistName:(NSString*)plistName {
    SMAppService* const made = [[self alloc] init];
    made->name = [plistName copy];
    return made;
}

- (BOOL)change:(NSString*)operation to:(NSInteger)status returning:(NSError**)error {
    NSError* const failure = outcomeOf(operation);
    if (failure == nil)
        serviceStatus()[name] = @(status);
    else if (error != nullptr)
        *error = failure;
    return failure == nil;
}

- (BOOL)registerAndReturnError:(NSError**)error {
    return [self change:@"register" to:1 returning:error];
}

- (BOOL)unregisterAndReturnError:(NSError**)error {
    return [self change:@"unregister" to:0 returning:error];
}

- (NSInteger)status {
    return serviceStatus()[name].integerValue;
}

@end
