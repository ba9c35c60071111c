#pragma once

#include "View/ViewRecords.h"

#import <AppKit/AppKit.h>

namespace quoxelin::theme {

/// The system's named colors, which follow light, dark and increased contrast.
NSColor* color(Color color);

/// The inverse of `color`; empty for other colors.
std::optional<Color> recordOf(NSColor* shown);

/// The system's text styles. Styles may look alike, so read back the style and not the font.
NSFontTextStyle textStyle(Font font);
std::optional<Font> recordOf(NSFontTextStyle style);

NSFont* font(NSFontTextStyle style, FontWeight weight);
FontWeight weightOf(NSFont* shown);

} // namespace quoxelin::theme
