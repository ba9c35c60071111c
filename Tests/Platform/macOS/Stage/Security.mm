#import <Security/Security.h>

#import "Tests/Platform/macOS/Stage/Stage.h"
#import "Tests/Platform/macOS/Stage/StageServices.h"
#include "Tests/Platform/macOS/Stage/StageSpawn.h"

using quoxelin::stage::Signature;
using quoxelin::stage::signatures;

const CFStringRef kSecGuestAttributePid = (__bridge CFStringRef) @"pid";
const CFStringRef kSecCodeInfoTeamIdentifier = (__bridge CFStringRef) @"teamid";
const CFStringRef kSecCodeInfoPList = (__bridge CFStringRef) @"info-plist";

/// A program or a bundle.
@interface StageSignedCode : NSObject
@property Signature signature;
@property NSDictionary* propertyList;
@end

@implementation StageSignedCode
@end

namespace quoxelin::stage {

SignatureState& signatures() {
    static SignatureState state;
    static dispatch_once_t once;
    dispatch_once(&once, ^{
        onReset(^{
            state = SignatureState();
        });
    });
    return state;
}

bool satisfies(Signature signature, NSString* requirement) {
    if (signature == nil)
        return false;
    NSString* const wanted =
        [NSString stringWithFormat:@"anchor apple generic and identifier \"%@\" and certificate "
                                   @"leaf[subject.OU] = \"%@\"",
                                   signature[0], signature[1]];
    return [requirement isEqualToString:wanted];
}

} // namespace quoxelin::stage

CFStringRef SecCopyErrorMessageString(OSStatus status, void*) {
    return (__bridge_retained CFStringRef)
        [NSString stringWithFormat:@"signing error %d", static_cast<int>(status)];
}

OSStatus SecRequirementCreateWithString(CFStringRef text, SecCSFlags,
                                        SecRequirementRef* requirement) {
    NSString* const copied = [(__bridge NSString*)text copy];
    if (![copied hasPrefix:@"anchor apple generic and identifier \""])
        return errSecCSReqInvalid;
    *requirement = (__bridge_retained SecRequirementRef)copied;
    return errSecSuccess;
}

OSStatus SecCodeCopySelf(SecCSFlags, SecCodeRef* self) {
    StageSignedCode* const code = [[StageSignedCode alloc] init];
    code.signature = signatures().own;
    *self = (__bridge_retained SecCodeRef)code;
    return errSecSuccess;
}

OSStatus SecCodeCopyStaticCode(SecCodeRef code, SecCSFlags, SecStaticCodeRef* staticCode) {
    StageSignedCode* const same = (__bridge StageSignedCode*)code;
    *staticCode = (__bridge_retained SecStaticCodeRef)same;
    return errSecSuccess;
}

OSStatus SecCodeCopyGuestWithAttributes(SecCodeRef, CFDictionaryRef attributes, SecCSFlags,
                                        SecCodeRef* guest) {
    NSNumber* const process =
        ((__bridge NSDictionary*)attributes)[(__bridge NSString*)kSecGuestAttributePid];
    const auto path = quoxelin::stage::programOf(process.intValue);
    if (path.empty())
        return errSecCSNoSuchCode;
    StageSignedCode* const code = [[StageSignedCode alloc] init];
    code.signature = signatures().byPath[@(path.c_str())];
    *guest = (__bridge_retained SecCodeRef)code;
    return errSecSuccess;
}

static OSStatus check(StageSignedCode* code, SecRequirementRef requirement) {
    if (code.signature == nil)
        return errSecCSUnsigned;
    return quoxelin::stage::satisfies(code.signature, (__bridge NSString*)requirement)
               ? errSecSuccess
               : errSecCSReqFailed;
}

OSStatus SecCodeCheckValidity(SecCodeRef code, SecCSFlags, SecRequirementRef requirement) {
    return check((__bridge StageSignedCode*)code, requirement);
}

OSStatus SecStaticCodeCreateWithPath(CFURLRef path, SecCSFlags, SecStaticCodeRef* staticCode) {
    NSString* const place = ((__bridge NSURL*)path).path;
    StageSignedCode* const code = [[StageSignedCode alloc] init];
    code.signature = signatures().byPath[place];
    code.propertyList = signatures().propertyLists[place];
    *staticCode = (__bridge_retained SecStaticCodeRef)code;
    return errSecSuccess;
}

OSStatus SecStaticCodeCheckValidity(SecStaticCodeRef staticCode, SecCSFlags,
                                    SecRequirementRef requirement) {
    return check((__bridge StageSignedCode*)staticCode, requirement);
}

OSStatus SecCodeCopySigningInformation(SecStaticCodeRef code, SecCSFlags,
                                       CFDictionaryRef* information) {
    StageSignedCode* const signedCode = (__bridge StageSignedCode*)code;
    NSMutableDictionary* const all = [NSMutableDictionary dictionary];
    all[(__bridge NSString*)kSecCodeInfoTeamIdentifier] = signedCode.signature.lastObject;
    all[(__bridge NSString*)kSecCodeInfoPList] = signedCode.propertyList;
    *information = (__bridge_retained CFDictionaryRef)[all copy];
    return errSecSuccess;
}
