#pragma once

#import <Foundation/Foundation.h>

#include <Availability.h>
#include <optional>
#include <string>
#include <sys/types.h>
#include <tl/expected.hpp>

// The programs of this product trust each other by their team's signature. Any thread.

// For SDKs older than macOS 13, which lack it. Every supported system has it.
#if !defined(__MAC_13_0) || __MAC_OS_X_VERSION_MAX_ALLOWED < __MAC_13_0
@interface NSXPCConnection (CodeSigningRequirement)
/// Set it before resuming the connection. Messages of a peer that does not satisfy the requirement
/// are dropped, and the connection becomes invalid.
- (void)setCodeSigningRequirement:(NSString*)requirement;
@end
#endif

namespace quoxelin::helper {

/// The team that signed this program; empty if it is unsigned or signed without a team.
std::optional<std::string> teamOfThisProgram();

/// The code-signing requirement for the program with that identifier, signed by that team.
std::string requirementFor(const std::string& identifier, const std::string& team);

/// Whether a running process satisfies the requirement. Checks the loaded code, so changes of the
/// file do not matter. A failure is a text for the log.
tl::expected<void, std::string> verifyProcess(pid_t process, const std::string& requirement);

/// The text of the signed Info.plist of a bundle that satisfies the requirement. A failure is a
/// text for the log.
tl::expected<std::string, std::string> signedPropertyList(const std::string& bundlePath,
                                                          const std::string& requirement);

} // namespace quoxelin::helper
