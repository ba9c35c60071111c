#include "Base/Url.h"

#include <boost/url.hpp>

namespace quoxelin {

std::optional<Url> Url::parse(std::string_view text) {
    if (text.empty() || !boost::urls::parse_uri_reference({text.data(), text.size()}))
        return std::nullopt;
    return Url(std::string(text));
}

std::string Url::scheme() const {
    const auto view = boost::urls::parse_uri_reference(whole).value();
    return std::string(view.scheme());
}

std::vector<Url::QueryItem> Url::queryItems() const {
    const auto view = boost::urls::parse_uri_reference(whole).value();
    std::vector<QueryItem> items;
    if (view.encoded_query().empty()) // the library reads beyond an empty query
        return {};
    // Only HTML forms encode a space as a plus sign.
    boost::urls::encoding_opts options;
    options.space_as_plus = false;
    for (const auto& item : view.params(options))
        items.push_back({item.key, item.has_value ? std::optional(item.value) : std::nullopt});
    return items;
}

std::string percentEncodedForQuery(std::string_view text) {
    return boost::urls::encode({text.data(), text.size()}, boost::urls::pchars + '/' + '?');
}

} // namespace quoxelin
