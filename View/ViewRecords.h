#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quoxelin {

// The content of the panel as plain data. Renderers only draw it: all texts, colors, distances and
// reactions are in the records. Lengths are in points. Main thread only.

enum class Font { headline, subheadline, body, callout, footnote, caption };
enum class FontWeight { regular, semibold };
enum class Color { clear, primary, secondary, gray, green, orange, red };
enum class Alignment { leading, center };
enum class Truncation { tail, middle };

struct EdgeInsets {
    double top = 0;
    double leading = 0;
    double bottom = 0;
    double trailing = 0;
    bool operator==(const EdgeInsets&) const = default;
};

/// How many children of a list are in view at once.
inline constexpr std::size_t listRowsInView = 10;

/// The opacity of informational text, the faintest text that there is.
inline constexpr double quietOpacity = 0.65;

struct Popover;
struct Alert;

/// An element and its children. Fields that a kind does not use keep their defaults.
struct ViewNode {
    enum class Kind {
        /// `text` in `font`, `weight`, `color` and `opacity`, cut with an ellipsis after
        /// `lineLimit` lines (0 for no limit). A line feed starts a new line. A text that is cut
        /// is shown whole in a tool tip; an empty one takes no line.
        text,
        /// The system symbol named `text`, as large as text in `font`, in `color` and `opacity`.
        /// Decoration only: a text beside it says the same.
        symbol,
        /// A circle filled with `color`.
        circle,
        /// Takes the remaining room in a horizontal stack or row.
        spacer,
        /// A thin horizontal line.
        divider,
        /// A button with its children side by side, centered vertically. The whole row, including
        /// its padding, reacts to clicks, takes the keyboard focus and acts on Return.
        row,
        /// The children side by side, centered vertically.
        horizontalStack,
        /// The children below each other, aligned horizontally by `alignment`.
        verticalStack,
        /// Like a vertical stack, but as high as ten of its children at most; more of them scroll.
        list,
    };

    Kind kind = Kind::verticalStack;
    /// Identity among the siblings across updates. If empty, the position is used.
    std::string key;
    std::string text;
    Font font = Font::body;
    FontWeight weight = FontWeight::regular;
    Color color = Color::primary;
    double opacity = 1;
    int lineLimit = 0;
    /// Text: where a line is cut. In the middle is for values such as addresses: their lines break
    /// at spaces only, so a value stays in one piece.
    Truncation truncation = Truncation::tail;
    /// Text: assistive technology says it when it changes on the screen.
    bool announcesChanges = false;

    /// Between the outer edge, which the background fills, and the content.
    EdgeInsets padding;
    /// The size including padding. If absent, the size of the content.
    std::optional<double> width;
    std::optional<double> height;
    /// As wide as the parent allows.
    bool fillsWidth = false;
    /// Where the content lies if there is extra room.
    Alignment alignment = Alignment::leading;
    /// Between the children of a stack or row.
    double spacing = 0;

    /// The background, clipped to `cornerRadius`.
    Color background = Color::clear;
    double backgroundOpacity = 1;
    double cornerRadius = 0;

    /// Row: neither acts nor takes the focus. Its children show that it is disabled.
    bool disabled = false;
    /// Row: always set.
    std::function<void()> action;
    /// Row: called with true when the pointer enters, with false when it leaves or the row
    /// disappears beneath it.
    std::function<void(bool isHovering)> onHover;
    /// Row: describes the action to assistive technology. Never empty.
    std::string accessibilityLabel;
    /// Row: what else assistive technology says about it. May be empty.
    std::string accessibilityDescription;
    /// Row: its action opens and closes `popover`.
    bool hasPopover = false;

    /// Presented beside this element while set.
    std::shared_ptr<const Popover> popover;
    /// Presented over the window while set.
    std::shared_ptr<const Alert> alert;

    std::vector<ViewNode> children;
};

struct Popover {
    ViewNode content;
    /// The user clicked elsewhere or pressed Escape. The popover closes when the next tree omits
    /// it.
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
    /// Escape presses the cancel button.
    std::vector<Button> buttons;
};

} // namespace quoxelin
