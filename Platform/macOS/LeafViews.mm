#include "Platform/macOS/LeafViews.h"

#include "Platform/macOS/ObjC.h"
#include "Platform/macOS/Theme.h"
#include "View/ValueLines.h"

#include <cmath>

@implementation QXLabel

- (void)setTextStyle:(NSFontTextStyle)style weight:(quoxelin::FontWeight)weight {
    _textStyle = style;
    NSFont* const font = quoxelin::theme::font(style, weight);
    if (![self.font isEqual:font])
        self.font = font;
}

- (NSString*)accessibilityValue {
    return self.wholeText;
}

/// Lets the row receive the clicks.
- (NSView*)hitTest:(NSPoint)point {
    return nil;
}

@end

@implementation QXSymbol

- (void)setSymbolName:(NSString*)name textStyle:(NSFontTextStyle)style {
    if ([_symbolName isEqualToString:name] && [_textStyle isEqualToString:style])
        return;
    _symbolName = [name copy];
    _textStyle = style;
    self.image = [NSImage imageWithSystemSymbolName:name accessibilityDescription:nil];
    self.symbolConfiguration = [NSImageSymbolConfiguration configurationWithTextStyle:style];
}

- (NSView*)hitTest:(NSPoint)point {
    return nil;
}

@end

namespace quoxelin {

namespace {

void setColor(NSColor* shown, const ViewNode& node, void (^set)(NSColor*)) {
    NSColor* const color = theme::color(node.color);
    if (![color isEqual:shown])
        set(color);
}

/// Sets the opacity of the view rather than of its color: a color with a changed opacity would no
/// longer follow light and dark.
void setOpacity(NSView* view, double opacity) {
    if (view.alphaValue != opacity)
        view.alphaValue = opacity;
}

/// Rounded, because views store opacity in single precision.
double opacityOf(NSView* view) {
    return std::round(view.alphaValue * 1000) / 1000;
}

} // namespace

TextView::TextView()
    : ElementView(ViewNode::Kind::text, [[QXBox alloc] init]), label([[QXLabel alloc] init]) {
    label.editable = NO;
    label.selectable = NO;
    label.bordered = NO;
    label.drawsBackground = NO;
    [view() addSubview:label];
}

void TextView::bindContent(const ViewNode& node) {
    [label setTextStyle:theme::textStyle(node.font) weight:node.weight];
    setColor(label.textColor, node, ^(NSColor* color) {
        label.textColor = color;
    });
    setOpacity(label, node.opacity);
    label.alignment =
        node.alignment == Alignment::center ? NSTextAlignmentCenter : NSTextAlignmentNatural;
    const bool isValue = node.truncation == Truncation::middle;
    label.maximumNumberOfLines = node.lineLimit;
    label.cell.wraps = node.lineLimit != 1 && !isValue;
    label.cell.truncatesLastVisibleLine = node.lineLimit != 0;
    label.lineBreakMode = isValue               ? NSLineBreakByTruncatingMiddle
                          : node.lineLimit == 1 ? NSLineBreakByTruncatingTail
                                                : NSLineBreakByWordWrapping;
    announcesChanges = node.announcesChanges;
    if (text == node.text)
        return;
    text = node.text;
    label.wholeText = toNSString(text);
    label.stringValue = label.wholeText;
    if (announcesChanges && view().window.visible)
        NSAccessibilityPostNotificationWithUserInfo(
            view().window, NSAccessibilityAnnouncementRequestedNotification, @{
                NSAccessibilityAnnouncementKey : label.wholeText,
                NSAccessibilityPriorityKey : @(NSAccessibilityPriorityMedium),
            });
}

void TextView::readContent(ViewNode& node) const {
    const bool isValue = label.lineBreakMode == NSLineBreakByTruncatingMiddle;
    node.text = toString(isValue ? label.wholeText : label.stringValue);
    node.truncation = isValue ? Truncation::middle : Truncation::tail;
    node.announcesChanges = announcesChanges;
    node.font = theme::recordOf(label.textStyle).value_or(Font::body);
    node.weight = theme::weightOf(label.font);
    node.color = theme::recordOf(label.textColor).value_or(Color::clear);
    node.opacity = opacityOf(label);
    node.lineLimit = static_cast<int>(label.maximumNumberOfLines);
}

CGFloat TextView::width(NSString* line) const {
    return std::ceil([line sizeWithAttributes:@{NSFontAttributeName : label.font}].width);
}

void TextView::show(CGFloat available) const {
    if (label.lineBreakMode != NSLineBreakByTruncatingMiddle)
        return;
    const auto fits = [&](const std::string& line) { return width(toNSString(line)) <= available; };
    NSMutableArray<NSString*>* const lines = [NSMutableArray array];
    for (const auto& line : valueLines(text, static_cast<int>(label.maximumNumberOfLines), fits))
        [lines addObject:toNSString(line)];
    NSString* const shown = [lines componentsJoinedByString:@"\n"];
    if (![label.stringValue isEqualToString:shown])
        label.stringValue = shown;
}

CGSize TextView::contentSize(CGFloat available) const {
    if (text.empty())
        return CGSizeZero;
    show(available);
    const auto bounds = [label frameForAlignmentRect:NSMakeRect(0, 0, available, CGFLOAT_MAX)];
    CGRect taken = NSZeroRect;
    taken.size = [label.cell cellSizeForBounds:bounds];
    auto size = [label alignmentRectForFrame:taken].size;
    // The cell may measure less than a line needs, and then the line is broken once more.
    if (label.lineBreakMode == NSLineBreakByTruncatingMiddle)
        size.width = std::max(size.width, std::min(available, widestLine()));
    NSFont* const font = label.font;
    CGFloat height = size.height;
    if (label.maximumNumberOfLines > 0) {
        // The cell measures all lines, even those beyond the maximum.
        const CGFloat line = std::ceil(font.ascender - font.descender + font.leading);
        height = std::min<CGFloat>(height, std::ceil(line * label.maximumNumberOfLines));
    }
    return CGSizeMake(std::ceil(size.width), std::ceil(height));
}

CGFloat TextView::widestLine() const {
    CGFloat widest = 0;
    for (NSString* line in [label.stringValue componentsSeparatedByString:@"\n"])
        widest = std::max(widest, width(line));
    return widest;
}

bool TextView::isCut() const {
    const auto place = label.frame;
    const CGFloat room = [label alignmentRectForFrame:place].size.width;
    if (!label.cell.wraps)
        return widestLine() > room;
    const auto unlimited = NSMakeRect(0, 0, place.size.width, CGFLOAT_MAX);
    return [label.cell cellSizeForBounds:unlimited].height > place.size.height + 1;
}

void TextView::placeContent(CGRect place) {
    // The framework's cell insets its text.
    show(place.size.width);
    label.frame = [label frameForAlignmentRect:place];
    view().toolTip = isCut() ? toNSString(text) : nil;
}

SymbolView::SymbolView()
    : ElementView(ViewNode::Kind::symbol, [[QXBox alloc] init]), symbol([[QXSymbol alloc] init]) {
    symbol.accessibilityElement = NO;
    [view() addSubview:symbol];
}

void SymbolView::bindContent(const ViewNode& node) {
    [symbol setSymbolName:toNSString(node.text) textStyle:theme::textStyle(node.font)];
    setColor(symbol.contentTintColor, node, ^(NSColor* color) {
        symbol.contentTintColor = color;
    });
    setOpacity(symbol, node.opacity);
}

void SymbolView::readContent(ViewNode& node) const {
    node.text = toString(symbol.symbolName);
    node.font = theme::recordOf(symbol.textStyle).value_or(Font::body);
    node.color = theme::recordOf(symbol.contentTintColor).value_or(Color::clear);
    node.opacity = opacityOf(symbol);
}

CGSize SymbolView::contentSize(CGFloat) const {
    const auto size = symbol.intrinsicContentSize;
    return CGSizeMake(std::ceil(size.width), std::ceil(size.height));
}

void SymbolView::placeContent(CGRect place) {
    symbol.frame = place;
}

CircleView::CircleView() : ElementView(ViewNode::Kind::circle, [[QXCircle alloc] init]) {}

QXCircle* CircleView::circle() const {
    return static_cast<QXCircle*>(view());
}

void CircleView::bindContent(const ViewNode& node) {
    setColor(circle().circleColor, node, ^(NSColor* color) {
        circle().circleColor = color;
    });
    setOpacity(circle(), node.opacity);
}

void CircleView::readContent(ViewNode& node) const {
    node.color = theme::recordOf(circle().circleColor).value_or(Color::clear);
    node.opacity = opacityOf(circle());
}

SpacerView::SpacerView() : ElementView(ViewNode::Kind::spacer, [[QXBox alloc] init]) {}

DividerView::DividerView() : ElementView(ViewNode::Kind::divider, [[QXDivider alloc] init]) {}

} // namespace quoxelin
