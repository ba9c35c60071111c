#include "Base/PropertyList.h"

#include <charconv>
#include <cstdint>
#include <vector>

namespace quoxelin {

namespace {

struct Tag {
    enum class Kind { opening, closing, empty };
    Kind kind;
    std::string_view name;
};

std::optional<std::string> utf8Of(std::uint32_t character) {
    const auto byte = [](std::uint32_t bits) { return static_cast<char>(bits); };
    const auto tail = [&](int shift) { return byte(0x80 | (character >> shift & 0x3F)); };
    if (character == 0 || (character >= 0xD800 && character < 0xE000) || character > 0x10FFFF)
        return std::nullopt;
    if (character < 0x80)
        return std::string{byte(character)};
    if (character < 0x800)
        return std::string{byte(0xC0 | character >> 6), tail(0)};
    if (character < 0x10000)
        return std::string{byte(0xE0 | character >> 12), tail(6), tail(0)};
    return std::string{byte(0xF0 | character >> 18), tail(12), tail(6), tail(0)};
}

/// The character for "&name;".
std::optional<std::string> entity(std::string_view name) {
    static const std::map<std::string_view, std::string> named = {
        {"amp", "&"}, {"lt", "<"}, {"gt", ">"}, {"quot", "\""}, {"apos", "'"}};
    if (const auto found = named.find(name); found != named.end())
        return found->second;
    if (!name.starts_with('#'))
        return std::nullopt;
    const int base = name.starts_with("#x") ? 16 : 10;
    name.remove_prefix(base == 16 ? 2 : 1);
    std::uint32_t character = 0;
    const auto [end, error] =
        std::from_chars(name.data(), name.data() + name.size(), character, base);
    if (error != std::errc() || end != name.data() + name.size())
        return std::nullopt;
    return utf8Of(character);
}

std::optional<std::string> withoutEntities(std::string_view text) {
    std::string plain;
    for (auto start = text.find('&'); start != text.npos; start = text.find('&')) {
        const auto end = text.find(';', start);
        const auto stands =
            end == text.npos ? std::nullopt : entity(text.substr(start + 1, end - start - 1));
        if (!stands)
            return std::nullopt;
        plain.append(text.substr(0, start)).append(*stands);
        text.remove_prefix(end + 1);
    }
    return plain.append(text);
}

/// Reads tags from the front. Skips everything but tags and text (the prologue, comments).
class Reader {
  public:
    explicit Reader(std::string_view text) : rest(text) {}

    std::optional<Tag> tag() {
        for (auto start = rest.find('<'); start != rest.npos; start = rest.find('<')) {
            rest.remove_prefix(start + 1);
            if (rest.starts_with("!--")) {
                if (!passOver("-->"))
                    return std::nullopt;
            } else if (rest.starts_with('?') || rest.starts_with("!DOCTYPE")) {
                if (!passOver(">"))
                    return std::nullopt;
            } else {
                return tagHere();
            }
        }
        return std::nullopt;
    }

    /// The text up to the end of the element. Fails if the element contains anything else.
    std::optional<std::string> textOf(const Tag& element) {
        if (element.kind == Tag::Kind::empty)
            return std::string();
        const auto text = rest.substr(0, rest.find('<'));
        const auto end = tag();
        const bool follows = end && text.data() + text.size() + 1 == end->name.data() - 1;
        if (!follows || end->kind != Tag::Kind::closing || end->name != element.name)
            return std::nullopt;
        return withoutEntities(text);
    }

    bool skip(const Tag& element) {
        std::vector<std::string_view> open;
        for (std::optional<Tag> next = element; next; next = tag()) {
            if (next->kind == Tag::Kind::opening)
                open.push_back(next->name);
            if (next->kind == Tag::Kind::closing) {
                if (open.back() != next->name)
                    return false;
                open.pop_back();
            }
            if (open.empty())
                return true;
        }
        return false;
    }

  private:
    bool passOver(std::string_view end) {
        const auto found = rest.find(end);
        if (found == rest.npos)
            return false;
        rest.remove_prefix(found + end.size());
        return true;
    }

    std::optional<Tag> tagHere() {
        auto inside = rest.substr(0, rest.find('>'));
        if (inside.size() == rest.size())
            return std::nullopt;
        rest.remove_prefix(inside.size() + 1);
        auto kind = Tag::Kind::opening;
        if (inside.starts_with('/')) {
            kind = Tag::Kind::closing;
            inside.remove_prefix(1);
        } else if (inside.ends_with('/')) {
            kind = Tag::Kind::empty;
            inside.remove_suffix(1);
        }
        const auto name = inside.substr(0, inside.find_first_of(" \t\r\n"));
        if (name.empty())
            return std::nullopt;
        return Tag{kind, name};
    }

    std::string_view rest;
};

bool opens(const std::optional<Tag>& tag, std::string_view name) {
    return tag && tag->kind == Tag::Kind::opening && tag->name == name;
}

} // namespace

std::optional<std::map<std::string, std::string>> stringsOfPropertyList(std::string_view text) {
    Reader reader(text);
    if (!opens(reader.tag(), "plist") || !opens(reader.tag(), "dict"))
        return std::nullopt;
    std::map<std::string, std::string> strings;
    for (auto tag = reader.tag(); tag; tag = reader.tag()) {
        if (tag->kind == Tag::Kind::closing)
            return tag->name == "dict" ? std::optional(strings) : std::nullopt;
        const auto key = tag->name == "key" ? reader.textOf(*tag) : std::nullopt;
        const auto value = key ? reader.tag() : std::nullopt;
        if (!value || value->kind == Tag::Kind::closing)
            return std::nullopt;
        if (value->name == "string") {
            const auto string = reader.textOf(*value);
            if (!string)
                return std::nullopt;
            strings[*key] = *string;
        } else if (!reader.skip(*value)) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

} // namespace quoxelin
