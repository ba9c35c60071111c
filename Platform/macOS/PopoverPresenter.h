#pragma once

#include "Runner/Views/ViewRecords.h"

#import <AppKit/AppKit.h>

@class QXPopoverDelegate;
@class QXTreeView;

namespace quoxelin {

/// A pop-over beside the element that it belongs to.
class PopoverPresenter {
  public:
    explicit PopoverPresenter(NSView* anchor);
    PopoverPresenter(const PopoverPresenter&) = delete;
    PopoverPresenter& operator=(const PopoverPresenter&) = delete;
    ~PopoverPresenter();

    void bind(const Popover& record);
    Popover readBack() const;

    /// Comes up, if its anchor is on the screen.
    void present();

    /// Goes without having been dismissed.
    void takeAway();

  private:
    __weak NSView* const anchor;
    NSPopover* const popover;
    QXTreeView* const content;
    QXPopoverDelegate* const delegate;
};

} // namespace quoxelin
