#pragma once

#include "View/Element.h"

#import <AppKit/AppKit.h>

@class QXPopoverDelegate;
@class QXTreeView;

namespace quoxelin {

/// A pop-over beside the element that it belongs to.
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

/// The time of the event by which the user last closed a pop-over; events tell their own.
NSTimeInterval lastDismissal();

} // namespace quoxelin
