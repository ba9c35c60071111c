#include "Platform/macOS/MacStatusBar.h"

#include "Platform/macOS/ObjC.h"
#include "Platform/macOS/QXActionTarget.h"

#import <AppKit/AppKit.h>

namespace quoxelin {

namespace {

class Image final : public NSImage {
  public:
    explicit Image(::NSImage* image) : image(image) {}

    void setTemplate(bool isTemplate) override { [image setTemplate:isTemplate]; }
    void setSize(NSSize size) override { image.size = NSMakeSize(size.width, size.height); }

    ::NSImage* const image;
};

class Button final : public NSStatusBarButton {
  public:
    explicit Button(::NSStatusBarButton* button) : button(button) {}

    void setImage(std::shared_ptr<NSImage> image) override {
        button.image = image ? std::static_pointer_cast<Image>(image)->image : nil;
    }

    void setTitle(const std::string& title) override { button.title = toNSString(title); }
    void setToolTip(const std::string& toolTip) override { button.toolTip = toNSString(toolTip); }

    void setAction(std::function<void()> action) override {
        target = [[QXActionTarget alloc] initWithFunction:std::move(action)];
        button.target = target;
        button.action = QXActionTarget.action;
    }

    std::optional<NSRect> frameOnScreen() const override {
        if (button.window == nil)
            return std::nullopt;
        const auto frame = [button.window convertRectToScreen:[button convertRect:button.bounds
                                                                           toView:nil]];
        return NSRect{frame.origin.x, frame.origin.y, frame.size.width, frame.size.height};
    }

  private:
    ::NSStatusBarButton* button;
    QXActionTarget* target = nil;
};

class Item final : public NSStatusItem {
  public:
    explicit Item(::NSStatusItem* item) : item(item) {
        if (item.button != nil)
            ownButton = std::make_unique<Button>(item.button);
    }
    Item(const Item&) = delete;
    Item& operator=(const Item&) = delete;
    ~Item() override { [[::NSStatusBar systemStatusBar] removeStatusItem:item]; }

    NSStatusBarButton* button() override { return ownButton.get(); }

  private:
    ::NSStatusItem* item;
    std::unique_ptr<Button> ownButton;
};

} // namespace

std::unique_ptr<NSStatusItem> MacStatusBar::statusItemWithLength(double length) {
    static_assert(NSSquareStatusItemLength == -2);
    return std::make_unique<Item>([[::NSStatusBar systemStatusBar] statusItemWithLength:length]);
}

std::shared_ptr<NSImage> MacStatusBar::imageNamed(const std::string& name) {
    NSURL* const url = [[::NSBundle mainBundle] URLForResource:toNSString(name)
                                                 withExtension:@"svg"];
    ::NSImage* const image = url != nil ? [[::NSImage alloc] initWithContentsOfURL:url] : nil;
    if (image == nil)
        return nullptr;
    return std::make_shared<Image>(image);
}

} // namespace quoxelin
