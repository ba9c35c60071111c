#pragma once

#include "Runner/Views/ViewRecords.h"

#import <AppKit/AppKit.h>

namespace quoxelin {

/// An alert over the window of the element that it belongs to.
class AlertSheet {
  public:
    explicit AlertSheet(NSView* anchor);
    AlertSheet(const AlertSheet&) = delete;
    AlertSheet& operator=(const AlertSheet&) = delete;
    ~AlertSheet();

    void bind(const Alert& record);
    Alert readBack() const;

    /// Comes up, if its anchor is on the screen.
    void present();

    /// Goes without an answer.
    void takeAway();

  private:
    struct Actions;

    NSAlert* makeAlert(const Alert& record) const;

    __weak NSView* const anchor;
    NSAlert* alert = nil;
    std::shared_ptr<Actions> actions;
};

} // namespace quoxelin
