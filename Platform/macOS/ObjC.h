#pragma once

#include "Base/Error.h"
#include "Base/Result.h"

#import <Foundation/Foundation.h>
#include <filesystem>
#include <optional>
#include <string>

namespace quoxelin {

// Converts between C++ and Objective-C types. Any thread.

/// Bytes that are not valid UTF-8 become replacement characters. Never nil.
NSString* toNSString(const std::string& text);

/// Empty for nil.
std::string toString(NSString* text);

/// Nil for an empty path.
NSURL* toFileURL(const std::filesystem::path& path);
std::filesystem::path toPath(NSURL* url);

Error toError(NSError* error);
std::optional<Error> toOptionalError(NSError* error);

/// An exception as an error; the exception's name becomes the domain.
Error toError(NSException* exception);

/// For framework calls that may throw: returns an exception as an error.
template <typename Call> Result<void, Error> withoutExceptions(Call call) {
    @try {
        call();
        return {};
    } @catch (NSException* exception) {
        return tl::unexpected(toError(exception));
    }
}

/// Like `withoutExceptions`, for calls that report failure through an NSError.
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
