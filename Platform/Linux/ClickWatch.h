#pragma once

#include "Base/ObserverList.h"
#include "Platform/NSPanel.h"

#include <QObject>
#include <QPoint>
#include <QRect>
#include <chrono>
#include <functional>
#include <optional>

namespace quoxelin {

/// Presses of a mouse button outside of the application's own windows and its status item. Where
/// the desktop does not let programs see them, the loss of the keyboard's focus stands for one.
/// Main thread only.
class ClickWatch final : public QObject {
  public:
    ClickWatch();

    /// `mask` holds `NSEventMask...` values.
    Subscription add(unsigned long long mask, std::function<void()> handler);

    /// Where the status item is; empty while that is not known.
    void setStatusItemArea(std::function<QRect()> area) { statusItemArea = std::move(area); }

    /// For a status item whose place is not known. It hears of its click from the tray, while we
    /// hear of the press from the screen, usually before that, and take it for one elsewhere. True
    /// when that press has just hidden our window, so that the click has had its effect. A press
    /// that is still to come is the click's, too, and not reported.
    bool takeClickOnStatusItem();

    /// As when somebody presses the left button outside of all that is ours.
    void pressElsewhere() { report(NSEventMaskLeftMouseDown); }

  private:
    void onPress(unsigned long long kind);
    void report(unsigned long long kind);

    using Instant = std::chrono::steady_clock::time_point;
    struct Press {
        Instant at;
        QPoint place;
        bool hidWindow;
    };

    ObserverList<unsigned long long> handlers;
    std::function<QRect()> statusItemArea;
    /// The last press that was reported and may turn out to be a click on the status item.
    std::optional<Press> lastPress;
    /// When a click came whose press did not come yet.
    std::optional<Instant> clickBeforePress;
};

} // namespace quoxelin
