#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quoxelin {

/// A uniform resource locator that has been checked against the generic syntax (RFC 3986).
class Url {
  public:
    struct QueryItem {
        std::string name;
        std::optional<std::string> value;
    };

    /// Absent when the text is empty or no URL: a blank, a stray "%", a non-ASCII character.
    static std::optional<Url> parse(std::string_view text);

    const std::string& text() const { return whole; }

    /// As it was written, empty for a relative reference.
    std::string scheme() const;

    /// The items of the query in their order, names and values percent-decoded.
    std::vector<QueryItem> queryItems() const;

    bool operator==(const Url&) const = default;

  private:
    explicit Url(std::string text) : whole(std::move(text)) {}
    std::string whole;
};

/// Percent-encodes what a URL's query may not hold as it stands: all but unreserved characters,
/// sub-delimiters and ":@/?".
std::string percentEncodedForQuery(std::string_view text);

} // namespace quoxelin
