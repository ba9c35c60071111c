#include "Platform/macOS/Theme.h"

#include <array>

namespace quoxelin::theme {

namespace {

constexpr std::array allColors{Color::clear, Color::primary, Color::secondary, Color::gray,
                               Color::green, Color::orange,  Color::red};
constexpr std::array allFonts{Font::headline, Font::subheadline, Font::body,
                              Font::callout,  Font::footnote,    Font::caption};

} // namespace

NSColor* color(Color color) {
    switch (color) {
    case Color::clear:
        return NSColor.clearColor;
    case Color::primary:
        return NSColor.labelColor;
    case Color::secondary:
        return NSColor.secondaryLabelColor;
    case Color::gray:
        return NSColor.systemGrayColor;
    case Color::green:
        return NSColor.systemGreenColor;
    case Color::orange:
        return NSColor.systemOrangeColor;
    case Color::red:
        return NSColor.systemRedColor;
    }
    return NSColor.labelColor;
}

std::optional<Color> recordOf(NSColor* shown) {
    for (const auto candidate : allColors)
        if ([color(candidate) isEqual:shown])
            return candidate;
    return std::nullopt;
}

NSFontTextStyle textStyle(Font font) {
    switch (font) {
    case Font::headline:
        return NSFontTextStyleHeadline;
    case Font::subheadline:
        return NSFontTextStyleSubheadline;
    case Font::body:
        return NSFontTextStyleBody;
    case Font::callout:
        return NSFontTextStyleCallout;
    case Font::footnote:
        return NSFontTextStyleFootnote;
    case Font::caption:
        return NSFontTextStyleCaption1;
    }
    return NSFontTextStyleBody;
}

std::optional<Font> recordOf(NSFontTextStyle style) {
    for (const auto candidate : allFonts)
        if ([textStyle(candidate) isEqualToString:style])
            return candidate;
    return std::nullopt;
}

NSFont* font(NSFontTextStyle style, FontWeight weight) {
    // Only the size comes from the style: a headline would also be bold.
    const CGFloat size = [NSFont preferredFontForTextStyle:style options:@{}].pointSize;
    switch (weight) {
    case FontWeight::regular:
        return [NSFont systemFontOfSize:size weight:NSFontWeightRegular];
    case FontWeight::semibold:
        return [NSFont systemFontOfSize:size weight:NSFontWeightSemibold];
    }
    return nil;
}

FontWeight weightOf(NSFont* shown) {
    constexpr NSInteger medium = 6;
    const auto weight = [[NSFontManager sharedFontManager] weightOfFont:shown];
    return weight > medium ? FontWeight::semibold : FontWeight::regular;
}

} // namespace quoxelin::theme
