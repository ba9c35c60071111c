#pragma once

#include "Base/Error.h"
#include "Base/Result.h"

#import <Foundation/Foundation.h>
#include <filesystem>
#include <optional>
#include <string>

namespace quoxelin {

// What every adapter needs to pass between the two languages. Any thread.

/// Bytes that are no UTF-8 are shown as replacement characters. Never nil.
NSString* toNSString(const std::string& text);

/// Empty for nil.
std::string toString(NSString* text);

/// Nil for an empty path.
NSURL* toFileURL(const std::filesystem::path& path);
std::filesystem::path toPath(NSURL* url);

Error toError(NSError* error);
std::optional<Error> toOptionalError(NSError* error);

/// An exception of the frameworks as an error: its name is the domain.
Error toError(NSException* exception);

/// Calls a framework where it may throw: an exception ends here and becomes an error.
template <typename Call> Result<void, Error> withoutExceptions(Call call) {
    @try {
        call();
        return {};
    } @catch (NSException* exception) {
        return tl::unexpected(toError(exception));
    }
}

/// The same for the calls that tell their failure by an NSError.
template <typename Call> Result<void, Error> withError(Call call) {
    NSError* error = nil;
    BOOL succeeded = NO;
    const auto called = withoutExceptions([&] { succeeded = call(&error); });
    if (!called)
        return called;
    if (!succeeded)
        return tl::unexpected(toError(error));
    return {};
}

} // namespace quoxelin
