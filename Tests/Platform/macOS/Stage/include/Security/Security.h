#pragma once

#import <Foundation/Foundation.h>

// Code signatures. On the stage, tests set them (StageServices.h).

typedef const struct StageString* CFStringRef;
typedef const struct StageDictionary* CFDictionaryRef;
typedef const struct StageURL* CFURLRef;
typedef int32_t OSStatus;
typedef uint32_t SecCSFlags;
typedef struct StageCode* SecCodeRef;
typedef struct StageStaticCode* SecStaticCodeRef;
typedef struct StageRequirement* SecRequirementRef;

enum : OSStatus {
    errSecSuccess = 0,
    errSecCSUnsigned = -67062,
    errSecCSReqInvalid = -67052,
    errSecCSReqFailed = -67050,
    errSecCSNoSuchCode = -67065,
};
enum : SecCSFlags {
    kSecCSDefaultFlags = 0,
    kSecCSSigningInformation = 1 << 1,
    kSecCSDoNotValidateResources = 1 << 2,
};

#ifdef __cplusplus
extern "C" {
#endif
extern const CFStringRef kSecGuestAttributePid;
extern const CFStringRef kSecCodeInfoTeamIdentifier;
extern const CFStringRef kSecCodeInfoPList;

CFStringRef SecCopyErrorMessageString(OSStatus status, void* reserved);
OSStatus SecRequirementCreateWithString(CFStringRef text, SecCSFlags flags,
                                        SecRequirementRef* requirement);
OSStatus SecCodeCopySelf(SecCSFlags flags, SecCodeRef* self);
OSStatus SecCodeCopyStaticCode(SecCodeRef code, SecCSFlags flags, SecStaticCodeRef* staticCode);
OSStatus SecCodeCopyGuestWithAttributes(SecCodeRef host, CFDictionaryRef attributes,
                                        SecCSFlags flags, SecCodeRef* guest);
OSStatus SecCodeCheckValidity(SecCodeRef code, SecCSFlags flags, SecRequirementRef requirement);
OSStatus SecStaticCodeCreateWithPath(CFURLRef path, SecCSFlags flags, SecStaticCodeRef* staticCode);
OSStatus SecStaticCodeCheckValidity(SecStaticCodeRef staticCode, SecCSFlags flags,
                                    SecRequirementRef requirement);
OSStatus SecCodeCopySigningInformation(SecStaticCodeRef code, SecCSFlags flags,
                                       CFDictionaryRef* information);
#ifdef __cplusplus
}
#endif
