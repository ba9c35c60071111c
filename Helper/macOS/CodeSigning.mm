#include "Helper/macOS/CodeSigning.h"

#import <Security/Security.h>

namespace quoxelin::helper {

namespace {

tl::unexpected<std::string> failure(const std::string& what, OSStatus status) {
    NSString* const text = (__bridge_transfer NSString*)SecCopyErrorMessageString(status, nullptr);
    return tl::unexpected(what + ": " + (text != nil ? text.UTF8String : "unknown error") + " (" +
                          std::to_string(status) + ")");
}

NSString* toText(const std::string& text) {
    NSString* const converted = [NSString stringWithUTF8String:text.c_str()];
    return converted != nil ? converted : @"";
}

/// The caller owns the result. Nil, with `status` set, if the text is invalid.
id requirementOf(const std::string& text, OSStatus& status) {
    SecRequirementRef requirement = nullptr;
    status = SecRequirementCreateWithString((__bridge CFStringRef)toText(text), kSecCSDefaultFlags,
                                            &requirement);
    return (__bridge_transfer id)requirement;
}

NSDictionary* signingInformation(id code) {
    CFDictionaryRef information = nullptr;
    if (SecCodeCopySigningInformation((__bridge SecStaticCodeRef)code, kSecCSSigningInformation,
                                      &information) != errSecSuccess)
        return nil;
    return (__bridge_transfer NSDictionary*)information;
}

} // namespace

std::optional<std::string> teamOfThisProgram() {
    SecCodeRef self = nullptr;
    if (SecCodeCopySelf(kSecCSDefaultFlags, &self) != errSecSuccess)
        return std::nullopt;
    const id running = (__bridge_transfer id)self;
    SecStaticCodeRef onDisk = nullptr;
    if (SecCodeCopyStaticCode((__bridge SecCodeRef)running, kSecCSDefaultFlags, &onDisk) !=
        errSecSuccess)
        return std::nullopt;
    const id code = (__bridge_transfer id)onDisk;
    NSString* const team = signingInformation(code)[(__bridge NSString*)kSecCodeInfoTeamIdentifier];
    if (team.length == 0)
        return std::nullopt;
    return std::string(team.UTF8String);
}

std::string requirementFor(const std::string& identifier, const std::string& team) {
    return "anchor apple generic and identifier \"" + identifier +
           "\" and certificate leaf[subject.OU] = \"" + team + "\"";
}

tl::expected<void, std::string> verifyProcess(pid_t process, const std::string& requirement) {
    OSStatus status = errSecSuccess;
    const id wanted = requirementOf(requirement, status);
    if (status != errSecSuccess)
        return failure("the requirement", status);
    NSDictionary* const attributes = @{(__bridge NSString*)kSecGuestAttributePid : @(process)};
    SecCodeRef found = nullptr;
    status = SecCodeCopyGuestWithAttributes(nullptr, (__bridge CFDictionaryRef)attributes,
                                            kSecCSDefaultFlags, &found);
    const id code = (__bridge_transfer id)found;
    if (status == errSecSuccess)
        status = SecCodeCheckValidity((__bridge SecCodeRef)code, kSecCSDefaultFlags,
                                      (__bridge SecRequirementRef)wanted);
    if (status != errSecSuccess)
        return failure("its signature", status);
    return {};
}

tl::expected<std::string, std::string> signedPropertyList(const std::string& bundlePath,
                                                          const std::string& requirement) {
    OSStatus status = errSecSuccess;
    const id wanted = requirementOf(requirement, status);
    if (status != errSecSuccess)
        return failure("the requirement", status);
    NSURL* const place = [NSURL fileURLWithPath:toText(bundlePath)];
    SecStaticCodeRef found = nullptr;
    status = SecStaticCodeCreateWithPath((__bridge CFURLRef)place, kSecCSDefaultFlags, &found);
    const id code = (__bridge_transfer id)found;
    // The bundle's programs are verified when they run.
    if (status == errSecSuccess)
        status = SecStaticCodeCheckValidity((__bridge SecStaticCodeRef)code,
                                            kSecCSDoNotValidateResources,
                                            (__bridge SecRequirementRef)wanted);
    if (status != errSecSuccess)
        return failure("the bundle's signature", status);
    NSDictionary* const list = signingInformation(code)[(__bridge NSString*)kSecCodeInfoPList];
    NSData* const text =
        [NSPropertyListSerialization dataWithPropertyList:list != nil ? list : @{}
                                                   format:NSPropertyListXMLFormat_v1_0
                                                  options:0
                                                    error:nil];
    return std::string(static_cast<const char*>(text.bytes), text.length);
}

} // namespace quoxelin::helper
