#pragma once

#include "View/Element.h"

#import <AppKit/AppKit.h>

@class QXPopoverDelegate;
@class QXTreeView;

namespace quoxelin {

/// A popover beside its element.
class PopoverPresenter final : public Presentation<Popover> {
  public:
    explicit PopoverPresenter(NSView* anchor);
    PopoverPresenter(const PopoverPresenter&) = delete;
    PopoverPresenter& operator=(const PopoverPresenter&) = delete;
    ~PopoverPresenter() override;

    void bind(const Popover& record) override;
    Popover readBack() const override;
    void present() override;
    void takeAway() override;

  private:
    __weak NSView* const anchor;
    NSPopover* const popover;
    QXTreeView* const content;
    QXPopoverDelegate* const delegate;
};

/// The timestamp of the event with which the user last closed a popover.
NSTimeInterval lastDismissal();

} // namespace quoxelin
