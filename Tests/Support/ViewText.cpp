#include "Tests/Support/ViewText.h"

#include <fmt/format.h>
#include <string_view>

namespace quoxelin {

namespace {

std::string_view name(ViewNode::Kind kind) {
    switch (kind) {
    case ViewNode::Kind::text:
        return "text";
    case ViewNode::Kind::symbol:
        return "symbol";
    case ViewNode::Kind::circle:
        return "circle";
    case ViewNode::Kind::spacer:
        return "spacer";
    case ViewNode::Kind::divider:
        return "divider";
    case ViewNode::Kind::row:
        return "row";
    case ViewNode::Kind::horizontalStack:
        return "line";
    case ViewNode::Kind::verticalStack:
        return "column";
    case ViewNode::Kind::list:
        return "list";
    }
    return "?";
}

std::string_view name(Font font) {
    switch (font) {
    case Font::headline:
        return "headline";
    case Font::subheadline:
        return "subheadline";
    case Font::body:
        return "body";
    case Font::callout:
        return "callout";
    case Font::footnote:
        return "footnote";
    case Font::caption:
        return "caption";
    }
    return "?";
}

std::string_view name(Color color) {
    switch (color) {
    case Color::clear:
        return "clear";
    case Color::primary:
        return "primary";
    case Color::secondary:
        return "secondary";
    case Color::gray:
        return "gray";
    case Color::green:
        return "green";
    case Color::orange:
        return "orange";
    case Color::red:
        return "red";
    }
    return "?";
}

std::string inQuotes(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '\n')
            out += "\\n";
        else if (c == '"' || c == '\\')
            (out += '\\') += c;
        else
            out += c;
    }
    return out + '"';
}

bool hasText(const ViewNode& node) {
    return node.kind == ViewNode::Kind::text || node.kind == ViewNode::Kind::symbol;
}

void appendAppearance(std::string& line, const ViewNode& node) {
    if (hasText(node)) {
        line += fmt::format(" {} {}", inQuotes(node.text), name(node.font));
        if (node.weight == FontWeight::semibold)
            line += " semibold";
    }
    if (node.color != Color::primary)
        line += fmt::format(" {}", name(node.color));
    if (node.opacity != 1)
        line += fmt::format(" opacity={}", node.opacity);
    if (node.lineLimit != 0)
        line += fmt::format(" lines={}", node.lineLimit);
    if (node.truncation == Truncation::middle)
        line += " cut-in-the-middle";
    if (node.announcesChanges)
        line += " announced";
}

void appendLayout(std::string& line, const ViewNode& node) {
    if (node.fillsWidth)
        line += " fills";
    if (node.width)
        line += fmt::format(" width={}", *node.width);
    if (node.height)
        line += fmt::format(" height={}", *node.height);
    if (node.alignment == Alignment::center)
        line += " centered";
    if (const auto& p = node.padding; p != EdgeInsets{})
        line += fmt::format(" padding={},{},{},{}", p.top, p.leading, p.bottom, p.trailing);
    if (node.spacing != 0)
        line += fmt::format(" spacing={}", node.spacing);
    if (node.cornerRadius != 0)
        line += fmt::format(" corner={}", node.cornerRadius);
    if (node.background != Color::clear)
        line += fmt::format(" background={}@{}", name(node.background), node.backgroundOpacity);
}

void append(std::string& text, const ViewNode& node, std::size_t depth) {
    text += std::string(2 * depth, ' ');
    text += name(node.kind);
    appendAppearance(text, node);
    appendLayout(text, node);
    if (node.disabled)
        text += " disabled";
    if (!node.accessibilityLabel.empty())
        text += " hears " + inQuotes(node.accessibilityLabel);
    if (!node.accessibilityDescription.empty())
        text += " and " + inQuotes(node.accessibilityDescription);
    if (node.hasPopover)
        text += " has-popover";
    text += '\n';

    for (const auto& child : node.children)
        append(text, child, depth + 1);
    if (node.popover) {
        text += std::string(2 * (depth + 1), ' ') + "popover\n";
        append(text, node.popover->content, depth + 2);
    }
    if (node.alert) {
        const std::string indent(2 * (depth + 1), ' ');
        text += indent + "alert " + inQuotes(node.alert->title) + '\n';
        text += indent + "  message " + inQuotes(node.alert->message) + '\n';
        for (const auto& button : node.alert->buttons)
            text +=
                indent + "  button " + inQuotes(button.title) +
                (button.role == Alert::Button::Role::destructive ? " destructive\n" : " cancel\n");
    }
}

} // namespace

std::string viewText(const ViewNode& tree) {
    std::string text;
    append(text, tree, 0);
    return text;
}

} // namespace quoxelin
