#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quoxelin {

/// A URL with valid generic syntax (RFC 3986).
class Url {
  public:
    struct QueryItem {
        std::string name;
        std::optional<std::string> value;
    };

    /// Empty if the text is not a valid URL (e.g. contains a space, a stray "%" or non-ASCII).
    static std::optional<Url> parse(std::string_view text);

    const std::string& text() const { return whole; }

    /// As written. Empty for a relative reference.
    std::string scheme() const;

    /// The query's items in order, with percent-decoded names and values.
    std::vector<QueryItem> queryItems() const;

    bool operator==(const Url&) const = default;

  private:
    explicit Url(std::string text) : whole(std::move(text)) {}
    std::string whole;
};

/// Percent-encodes everything that a URL's query cannot contain: all but unreserved characters,
/// sub-delimiters and ":@/?".
std::string percentEncodedForQuery(std::string_view text);

} // namespace quoxelin
