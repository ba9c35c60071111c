#pragma once

#include "View/Element.h"

#import <AppKit/AppKit.h>

namespace quoxelin {

/// An alert shown as a sheet on the window of its element.
class AlertSheet final : public Presentation<Alert> {
  public:
    explicit AlertSheet(NSView* anchor);
    AlertSheet(const AlertSheet&) = delete;
    AlertSheet& operator=(const AlertSheet&) = delete;
    ~AlertSheet() override;

    void bind(const Alert& record) override;
    Alert readBack() const override;
    void present() override;
    void takeAway() override;

  private:
    struct Actions;

    NSAlert* makeAlert(const Alert& record) const;

    __weak NSView* const anchor;
    NSAlert* alert = nil;
    std::shared_ptr<Actions> actions;
};

} // namespace quoxelin
