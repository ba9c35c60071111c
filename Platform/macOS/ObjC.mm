#include "Platform/macOS/ObjC.h"

namespace quoxelin {

NSString* toNSString(const std::string& text) {
    NSData* bytes = [NSData dataWithBytes:text.data() length:text.size()];
    NSString* exact = [[NSString alloc] initWithData:bytes encoding:NSUTF8StringEncoding];
    if (exact != nil)
        return exact;
    NSString* repaired = nil;
    [NSString
        stringEncodingForData:bytes
              encodingOptions:@{
                  NSStringEncodingDetectionSuggestedEncodingsKey : @[ @(NSUTF8StringEncoding) ],
                  NSStringEncodingDetectionUseOnlySuggestedEncodingsKey : @YES,
                  NSStringEncodingDetectionAllowLossyKey : @YES,
              }
              convertedString:&repaired
          usedLossyConversion:nil];
    return repaired != nil ? repaired : @"";
}

std::string toString(NSString* text) {
    NSData* bytes = [text dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
    if (bytes.length == 0)
        return {};
    return {static_cast<const char*>(bytes.bytes), bytes.length};
}

NSURL* toFileURL(const std::filesystem::path& path) {
    if (path.empty())
        return nil;
    return [NSURL fileURLWithPath:toNSString(path.string())];
}

std::filesystem::path toPath(NSURL* url) {
    return toString(url.path);
}

Error toError(NSError* error) {
    return {toString(error.domain), error.code, toString(error.localizedDescription)};
}

std::optional<Error> toOptionalError(NSError* error) {
    if (error == nil)
        return std::nullopt;
    return toError(error);
}

Error toError(NSException* exception) {
    return {toString(exception.name), 0, toString(exception.reason)};
}

} // namespace quoxelin
