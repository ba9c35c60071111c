#pragma once

#include "Platform/macOS/ElementView.h"

/// A label in one of the system's text styles.
@interface QXLabel : NSTextField
- (void)setTextStyle:(NSFontTextStyle)style weight:(quoxelin::FontWeight)weight;
@property(nonatomic, readonly) NSFontTextStyle textStyle;
/// The text without the line breaks of the screen. VoiceOver reads this one.
@property(nonatomic, copy) NSString* wholeText;
@end

/// One of the system's symbols.
@interface QXSymbol : NSImageView
- (void)setSymbolName:(NSString*)name textStyle:(NSFontTextStyle)style;
@property(nonatomic, readonly) NSString* symbolName;
@property(nonatomic, readonly) NSFontTextStyle textStyle;
@end

namespace quoxelin {

/// Plain text; markup is shown as it is.
class TextView final : public ElementView {
  public:
    TextView();

  protected:
    void bindContent(const ViewNode& node) override;
    void readContent(ViewNode& node) const override;
    CGSize contentSize(CGFloat available) const override;
    void placeContent(CGRect place) override;

  private:
    /// Shows a value in lines that are broken for that width.
    void show(CGFloat available) const;
    CGFloat width(NSString* line) const;
    CGFloat widestLine() const;
    bool isCut() const;

    QXLabel* const label;
    std::string text;
    bool announcesChanges = false;
};

class SymbolView final : public ElementView {
  public:
    SymbolView();
    bool isShrinkable() const override { return false; }

  protected:
    void bindContent(const ViewNode& node) override;
    void readContent(ViewNode& node) const override;
    CGSize contentSize(CGFloat available) const override;
    void placeContent(CGRect place) override;

  private:
    QXSymbol* const symbol;
};

class CircleView final : public ElementView {
  public:
    CircleView();
    bool isShrinkable() const override { return false; }

  protected:
    void bindContent(const ViewNode& node) override;
    void readContent(ViewNode& node) const override;
    CGSize contentSize(CGFloat) const override { return CGSizeZero; }

  private:
    QXCircle* circle() const;
};

/// Fills the remaining space.
class SpacerView final : public ElementView {
  public:
    SpacerView();
    bool isFlexible() const override { return true; }

  protected:
    void bindContent(const ViewNode&) override {}
    void readContent(ViewNode&) const override {}
    CGSize contentSize(CGFloat) const override { return CGSizeZero; }
};

class DividerView final : public ElementView {
  public:
    DividerView();
    bool isFlexible() const override { return true; }

  protected:
    void bindContent(const ViewNode&) override {}
    void readContent(ViewNode&) const override {}
    CGSize contentSize(CGFloat) const override { return CGSizeMake(0, 1); }
};

} // namespace quoxelin
