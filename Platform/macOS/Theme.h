#pragma once

#include "View/ViewRecords.h"

#import <AppKit/AppKit.h>

namespace quoxelin::theme {

/// The system's colours by name: they follow light, dark and increased contrast by themselves.
NSColor* color(Color color);

/// The inverse of `color`; absent when it is none of ours.
std::optional<Color> recordOf(NSColor* shown);

/// The system's text styles. Two of them may look alike; the style tells them apart.
NSFontTextStyle textStyle(Font font);
std::optional<Font> recordOf(NSFontTextStyle style);

NSFont* font(NSFontTextStyle style, FontWeight weight);
FontWeight weightOf(NSFont* shown);

} // namespace quoxelin::theme
