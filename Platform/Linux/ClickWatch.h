#pragma once

#include "Base/ObserverList.h"
#include "Platform/Linux/Wayland/ClickCatcher.h"
#include "Platform/Linux/X11Desktop.h"
#include "Platform/NSPanel.h"

#include <QObject>
#include <QPoint>
#include <QRect>
#include <chrono>
#include <functional>
#include <optional>

namespace quoxelin {

/// Reports mouse presses outside the application's panel and its status item. On desktops that hide
/// those presses, losing the keyboard focus counts as one, and so does an ordinary window of ours
/// that opens, which the panel would cover. Main thread only.
class ClickWatch final : public QObject {
  public:
    ClickWatch();

    /// `mask` holds `NSEventMask...` values.
    Subscription add(unsigned long long mask, std::function<void()> handler);

    /// Where the status item is; empty if unknown.
    void setStatusItemArea(std::function<QRect()> area) { statusItemArea = std::move(area); }

    /// Where the user has clicked the status item, given what the tray reports, which may be
    /// useless. Empty if it is unknown, for example because it was not a mouse's click.
    std::optional<QPoint> placeOfClick(const QPoint& reported) const;

    /// Calls back, at once or within a second, with the pointer's place if this desktop
    /// tells it only now.
    void findPointer(const std::function<void(std::optional<QPoint>)>& found);

    /// For a status item at an unknown place. The tray usually reports the click after the X server
    /// reports the press, which we first mistake for a press elsewhere. Returns true if that press
    /// has just hidden our window: the click has then had its effect. A press there that preceded
    /// the click but is reported after it is ignored.
    bool takeClickOnStatusItem();

    /// Acts like a left press outside everything that is ours.
    void pressElsewhere() { report(NSEventMaskLeftMouseDown, std::nullopt); }

  protected:
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    void onPress(unsigned long long kind, X11Desktop::Moment at);
    void report(unsigned long long kind, std::optional<QPoint> place);

    using Instant = std::chrono::steady_clock::time_point;
    struct Click {
        X11Desktop::Moment at;
        QPoint place;
    };
    struct Press {
        Instant at;
        std::optional<QPoint> place;
        bool hidWindow;
    };

    ObserverList<unsigned long long> handlers;
    std::optional<ClickCatcher> catcher;
    std::function<QRect()> statusItemArea;
    /// The last reported press, which may turn out to be a click on the status item.
    std::optional<Press> lastPress;
    /// A click that may have been reported before its press.
    std::optional<Click> clickBeforePress;
};

} // namespace quoxelin
