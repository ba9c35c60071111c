#import <AppKit/AppKit.h>

#import "Tests/Platform/macOS/Stage/Properties.h"
#include <cmath>

NSFontTextStyle const NSFontTextStyleHeadline = @"Headline",
                      NSFontTextStyleSubheadline = @"Subheadline", NSFontTextStyleBody = @"Body",
                      NSFontTextStyleCallout = @"Callout", NSFontTextStyleFootnote = @"Footnote",
                      NSFontTextStyleCaption1 = @"Caption1";

@implementation NSFont (Stage)

/// A font with Japanese letters, because GNUstep does not take letters that a font lacks from
/// another.
+ (void)load {
    [[NSUserDefaults standardUserDefaults] registerDefaults:@{
        @"NSFont" : @"NotoSansCJKjp-Regular",
        @"NSBoldFont" : @"NotoSansCJKjp-Bold",
    }];
}

/// Headlines are bold.
+ (NSFont*)preferredFontForTextStyle:(NSFontTextStyle)style options:(NSDictionary*)options {
    NSDictionary<NSString*, NSNumber*>* const sizes = @{
        NSFontTextStyleHeadline : @13,
        NSFontTextStyleSubheadline : @11,
        NSFontTextStyleBody : @13,
        NSFontTextStyleCallout : @12,
        NSFontTextStyleFootnote : @10,
        NSFontTextStyleCaption1 : @10,
    };
    const CGFloat size = sizes[style].doubleValue;
    return [style isEqualToString:NSFontTextStyleHeadline] ? [NSFont boldSystemFontOfSize:size]
                                                           : [NSFont systemFontOfSize:size];
}

+ (NSFont*)systemFontOfSize:(CGFloat)size weight:(NSFontWeight)weight {
    return weight >= NSFontWeightSemibold ? [NSFont boldSystemFontOfSize:size]
                                          : [NSFont systemFontOfSize:size];
}

@end

static NSColor* rgb(int red, int green, int blue, CGFloat alpha = 1) {
    return [NSColor colorWithCalibratedRed:red / 255.0
                                     green:green / 255.0
                                      blue:blue / 255.0
                                     alpha:alpha];
}

@implementation NSColor (Stage)

+ (NSColor*)separatorColor {
    return rgb(0, 0, 0, 0.15);
}

+ (NSColor*)secondaryLabelColor {
    return rgb(0, 0, 0, 0.5);
}

+ (NSColor*)systemGrayColor {
    return rgb(142, 142, 147);
}

+ (NSColor*)systemGreenColor {
    return rgb(40, 205, 65);
}

+ (NSColor*)systemOrangeColor {
    return rgb(255, 149, 0);
}

+ (NSColor*)systemRedColor {
    return rgb(255, 59, 48);
}

@end

@implementation CALayer
@end

@implementation NSVisualEffectView (Stage)

- (void)drawRect:(NSRect)dirtyRect {
    [rgb(246, 246, 246) setFill];
    const CGFloat radius = self.layer.cornerRadius;
    [[NSBezierPath bezierPathWithRoundedRect:self.bounds xRadius:radius yRadius:radius] fill];
}

@end

@implementation NSImageSymbolConfiguration

+ (instancetype)configurationWithTextStyle:(NSFontTextStyle)style {
    NSImageSymbolConfiguration* const made = [[self alloc] init];
    made->_textStyle = [style copy];
    return made;
}

@end

/// A circle around the first letter of the symbol's name.
@interface StageSymbolRep : NSImageRep
@property(copy) NSString* name;
@end

@implementation StageSymbolRep

- (BOOL)draw {
    const NSRect all = NSMakeRect(0, 0, self.size.width, self.size.height);
    [[NSColor blackColor] set];
    NSBezierPath* const circle = [NSBezierPath bezierPathWithOvalInRect:NSInsetRect(all, 1.5, 1.5)];
    circle.lineWidth = 1.2;
    [circle stroke];
    NSString* const letter = [self.name substringToIndex:1].uppercaseString;
    NSDictionary* const look =
        @{NSFontAttributeName : [NSFont systemFontOfSize:all.size.height * 0.55]};
    const NSSize size = [letter sizeWithAttributes:look];
    [letter drawAtPoint:NSMakePoint((all.size.width - size.width) / 2,
                                    (all.size.height - size.height) / 2)
         withAttributes:look];
    return YES;
}

- (id)copyWithZone:(NSZone*)zone {
    StageSymbolRep* const copy = [[StageSymbolRep alloc] init];
    copy.name = self.name;
    copy.size = self.size;
    return copy;
}

@end

@implementation NSImage (Stage)

+ (instancetype)imageWithSystemSymbolName:(NSString*)name
                 accessibilityDescription:(NSString*)description {
    NSImage* const made = [[NSImage alloc] initWithSize:NSMakeSize(15, 15)];
    StageSymbolRep* const rep = [[StageSymbolRep alloc] init];
    rep.name = name;
    rep.size = made.size;
    [made addRepresentation:rep];
    [made setTemplate:YES];
    return made;
}

@end

static const char symbolKey = 0;

@implementation NSImageView (Stage)

- (NSImageSymbolConfiguration*)symbolConfiguration {
    return quoxelin::stage::associated(self, &symbolKey);
}

- (void)setSymbolConfiguration:(NSImageSymbolConfiguration*)configuration {
    quoxelin::stage::associate(self, &symbolKey, configuration);
    NSFont* const font = [NSFont preferredFontForTextStyle:configuration.textStyle options:@{}];
    const CGFloat side = std::ceil(font.pointSize * 1.2);
    for (NSImageRep* each in self.image.representations)
        each.size = NSMakeSize(side, side);
    self.image.size = NSMakeSize(side, side);
}

@end
