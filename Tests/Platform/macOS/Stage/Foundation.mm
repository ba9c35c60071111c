#import <Foundation/Foundation.h>

NSString* const NSStringEncodingDetectionSuggestedEncodingsKey =
    @"NSStringEncodingDetectionSuggestedEncodingsKey";
NSString* const NSStringEncodingDetectionUseOnlySuggestedEncodingsKey =
    @"NSStringEncodingDetectionUseOnlySuggestedEncodingsKey";
NSString* const NSStringEncodingDetectionAllowLossyKey = @"NSStringEncodingDetectionAllowLossyKey";

/// Replaces GNUstep's function, which reads the user database, so that tests can set the folder.
NSString* NSHomeDirectoryForUser(NSString*) {
    const char* const home = getenv("HOME");
    return home != nullptr ? [NSString stringWithUTF8String:home] : @"/";
}

/// The number of bytes of a character that starts with this byte; 0 if none does.
static NSUInteger lengthOfCharacter(unsigned char first) {
    if (first < 0x80)
        return 1;
    if (first >= 0xf0)
        return 4;
    if (first >= 0xe0)
        return 3;
    return first >= 0xc0 ? 2 : 0;
}

@implementation NSString (Stage)

/// Bytes that are not UTF-8 become replacement characters, one by one.
+ (NSStringEncoding)stringEncodingForData:(NSData*)data
                          encodingOptions:(NSDictionary*)options
                          convertedString:(NSString**)string
                      usedLossyConversion:(BOOL*)lossy {
    NSMutableString* const converted = [NSMutableString string];
    const auto* at = static_cast<const unsigned char*>(data.bytes);
    const auto* const end = at + data.length;
    while (at < end) {
        const NSUInteger length = lengthOfCharacter(*at);
        NSString* character = nil;
        if (length > 0 && at + length <= end)
            character = [[NSString alloc] initWithBytes:at
                                                 length:length
                                               encoding:NSUTF8StringEncoding];
        if (character == nil && lossy != nullptr)
            *lossy = YES;
        at += character != nil ? length : 1;
        [converted appendString:character != nil ? character : @"\uFFFD"];
    }
    *string = converted;
    return NSUTF8StringEncoding;
}

@end

@implementation NSProcessInfo (Stage)

- (NSOperatingSystemVersion)operatingSystemVersion {
    return {13, 0, 0};
}

@end

@implementation NSFileManager (Stage)

- (NSURL*)temporaryDirectory {
    return [NSURL fileURLWithPath:NSTemporaryDirectory() isDirectory:YES];
}

@end
