#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quoxelin {

// What the panel shows, as plain data. Renderers draw it and decide nothing: every text, colour,
// distance and reaction stands in the records. All lengths are points. Main thread only.

enum class Font { headline, subheadline, body, callout, footnote, caption };
enum class FontWeight { regular, semibold };
enum class Color { clear, primary, secondary, gray, green, orange, red };
enum class Alignment { leading, center };

struct EdgeInsets {
    double top = 0;
    double leading = 0;
    double bottom = 0;
    double trailing = 0;
    bool operator==(const EdgeInsets&) const = default;
};

struct Popover;
struct Alert;

/// One element with all that lies within it. What a kind does not use keeps its default.
struct ViewNode {
    enum class Kind {
        /// `text` in `font`, `weight`, `color` and `opacity`, in at most `lineLimit` lines, cut
        /// with an ellipsis (0: as many lines as it takes). A line feed in it begins a new line.
        text,
        /// The system's symbol named `text`, as large as text of `font`, in `color` and `opacity`.
        /// Decoration: whatever it says stands in a text beside it too.
        symbol,
        /// Filled with `color`.
        circle,
        /// Takes what room is left in a horizontal stack or row.
        spacer,
        /// A thin line across.
        divider,
        /// A button: the children lie beside each other, centred vertically. The whole of it,
        /// padding included, can be clicked, takes the keyboard's focus, and acts on Return.
        row,
        /// The children beside each other, centred vertically.
        horizontalStack,
        /// The children below each other, placed across as `alignment` says.
        verticalStack,
    };

    Kind kind = Kind::verticalStack;
    /// Identity among the siblings across updates; empty: the position.
    std::string key;
    std::string text;
    Font font = Font::body;
    FontWeight weight = FontWeight::regular;
    Color color = Color::primary;
    double opacity = 1;
    int lineLimit = 0;

    /// Between the outer edge, which the background fills, and the content.
    EdgeInsets padding;
    /// Of the whole element, padding included; absent: what the content takes.
    std::optional<double> width;
    std::optional<double> height;
    /// As wide as the place allows.
    bool fillsWidth = false;
    /// Where the content lies when there is more room than it takes.
    Alignment alignment = Alignment::leading;
    /// Between the children of a stack or row.
    double spacing = 0;

    /// The background, clipped to `cornerRadius`.
    Color background = Color::clear;
    double backgroundOpacity = 1;
    double cornerRadius = 0;

    /// Of a row: it neither acts nor takes the focus. How it looks then is told by its children.
    bool disabled = false;
    /// Of a row; always there.
    std::function<void()> action;
    /// Of a row that follows the pointer: true when it enters, false when it leaves or the row goes
    /// away beneath it.
    std::function<void(bool isHovering)> onHover;
    /// Of a row: what it does, for those who do not see it. Never empty.
    std::string accessibilityLabel;

    /// Presented beside this element while it is there.
    std::shared_ptr<const Popover> popover;
    /// Presented over the window while it is there.
    std::shared_ptr<const Alert> alert;

    std::vector<ViewNode> children;
};

struct Popover {
    ViewNode content;
    /// The person clicked elsewhere or pressed Escape. The pop-over closes when the next tree has
    /// it no more.
    std::function<void()> onDismiss;
};

struct Alert {
    struct Button {
        enum class Role { destructive, cancel };
        std::string title;
        Role role;
        std::function<void()> action;
    };
    std::string title;
    std::string message;
    /// Escape presses the one that cancels.
    std::vector<Button> buttons;
};

} // namespace quoxelin
