#pragma once

#import <Foundation/Foundation.h>

#include <Availability.h>
#include <optional>
#include <string>
#include <sys/types.h>
#include <tl/expected.hpp>

// How the programs of this product know each other: by the signature of one team, which nobody else
// can make. From any thread.

// Declared by the SDKs of macOS 13 and later, which we run on.
#if !defined(__MAC_13_0) || __MAC_OS_X_VERSION_MAX_ALLOWED < __MAC_13_0
@interface NSXPCConnection (CodeSigningRequirement)
/// To be set before the connection is resumed. Messages of a peer that does not satisfy the
/// requirement are not delivered, and the connection becomes invalid.
- (void)setCodeSigningRequirement:(NSString*)requirement;
@end
#endif

namespace quoxelin::helper {

/// The team that signed this program; none for a build that is signed without a team or not at all.
std::optional<std::string> teamOfThisProgram();

/// In the language of code-signing requirements: the program of that identifier, by that team.
std::string requirementFor(const std::string& identifier, const std::string& team);

/// Whether a running process satisfies the requirement: what the system has loaded is checked, so
/// nothing can be exchanged on the disk any more. A failure is a text for the log.
tl::expected<void, std::string> verifyProcess(pid_t process, const std::string& requirement);

/// The text of the Info.plist that the bundle was signed with, once the bundle satisfies the
/// requirement. A failure is a text for the log.
tl::expected<std::string, std::string> signedPropertyList(const std::string& bundlePath,
                                                          const std::string& requirement);

} // namespace quoxelin::helper
