#pragma once

#include "Base/Json.h"
#include "Base/JsonNumbers.h"
#include "Base/ProgrammingFault.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <simdjson.h>

/// The implementation of `json::decode`. To support another type, declare beside it
/// `std::string_view decodeValue(const json::Value& value, T& into)`. It returns what is wrong, or
/// an empty text; it sees arrays and objects without their contents.
namespace quoxelin::json {

using Element = simdjson::dom::element;

/// A parsed text. Does not refer to the original text.
struct Document {
    simdjson::dom::parser parser;
    Element root;
    /// Parts to be decoded later.
    std::vector<Element> kept;
};

Result<std::shared_ptr<Document>, Error> parseDocument(std::string_view text, std::size_t padding);

/// Arrays and objects are converted without their contents.
Value withoutContents(Element element);

/// The position of the last member with each key.
std::map<std::string_view, std::size_t> lastPlaces(simdjson::dom::object object);

/// One decoding: the document, and what went wrong. The path is only put together after an error,
/// so success costs nothing.
struct Decoding {
    std::shared_ptr<Document> document;
    std::string path = {};
    std::string what = {};
    /// Whether a floating-point number may have stood for an integer that it cannot hold.
    bool isRounded = false;

    bool failed() const { return !what.empty(); }
    void forgive() { what.clear(), path.clear(); }

    /// These return false, for `return decoding.because("should be a boolean")`.
    bool because(std::string_view reason);
    bool within(std::string_view key);
    bool within(std::size_t index);
};

// Each `decodeValue` reads a value into a field; if `into` is null it only checks the value.

inline bool decodeValue(Element value, std::string* into, Decoding& decoding) {
    std::string_view text;
    if (!value.is_string())
        return decoding.because("should be a string");
    if (into && value.get(text) == simdjson::SUCCESS)
        into->assign(text);
    return true;
}

inline bool decodeValue(Element value, bool* into, Decoding& decoding) {
    bool truth = false;
    if (value.get(truth) != simdjson::SUCCESS)
        return decoding.because("should be a boolean");
    if (into)
        *into = truth;
    return true;
}

inline bool decodeValue(Element value, std::int64_t* into, Decoding& decoding) {
    constexpr auto largestExact = std::int64_t(1) << 53;
    std::int64_t number = 0;
    if (value.get(number) != simdjson::SUCCESS) {
        const auto other = withoutContents(value).integer(); // such as 4.0
        if (!other || *other <= -largestExact || *other >= largestExact)
            decoding.isRounded = true;
        if (!other)
            return decoding.because("should be an integer of at most 64 bits");
        number = *other;
    }
    if (into)
        *into = number;
    return true;
}

template <typename T>
requires requires(const Value& value, T& into) {
    { decodeValue(value, into) } -> std::same_as<std::string_view>;
}
bool decodeValue(Element value, T* into, Decoding& decoding) {
    T unused{};
    const auto wrong = decodeValue(withoutContents(value), into ? *into : unused);
    return wrong.empty() || decoding.because(wrong);
}

template <typename T>
bool decodeValue(Element value, std::optional<T>* into, Decoding& decoding) {
    if (!value.is_null())
        return decodeValue(value, into ? &into->emplace() : nullptr, decoding);
    if (into)
        into->reset();
    return true;
}

/// Null is read as an empty list.
template <typename T>
bool decodeValue(Element value, std::vector<T>* into, Decoding& decoding) {
    simdjson::dom::array array;
    if (into)
        into->clear();
    if (value.get(array) != simdjson::SUCCESS)
        return value.is_null() || decoding.because("should be an array");
    if (into) // a hostile text may announce more than it holds
        into->reserve(std::min<std::size_t>(array.size(), 1 << 16));
    std::size_t index = 0;
    for (const auto element : array) {
        if (!decodeValue(element, into ? &into->emplace_back() : nullptr, decoding))
            return decoding.within(index);
        ++index;
    }
    return true;
}

template <typename T>
bool decodeValue(Element value, std::map<std::string, T>* into, Decoding& decoding) {
    simdjson::dom::object object;
    if (value.get(object) != simdjson::SUCCESS)
        return decoding.because("should be an object");
    if (into)
        into->clear();
    std::optional<std::map<std::string_view, std::size_t>> last;
    std::size_t place = 0;
    for (const auto [key, member] : object) {
        if (!decodeValue(member, into ? &(*into)[std::string(key)] : nullptr, decoding)) {
            if (!last)
                last = lastPlaces(object);
            if ((*last)[key] == place)
                return decoding.within(key);
            decoding.forgive(); // a later member replaces it
        }
        ++place;
    }
    return true;
}

template <typename T>
bool decodeValue(Element value, Later<T>* into, Decoding& decoding) {
    if (!decodeValue(value, static_cast<T*>(nullptr), decoding))
        return false;
    if (into) {
        *into = Later<T>(decoding.document, decoding.document->kept.size());
        decoding.document->kept.push_back(value);
    }
    return true;
}

/// Takes the place of a record when a value is only checked.
template <typename Record>
Record none;

/// Finds the position of a key among the members of a record.
struct Search {
    std::string_view key = {};
    std::size_t place = 0;
    std::optional<std::size_t> found = {};

    template <typename T>
    constexpr void operator()(std::string_view name, const T&) {
        if (!found && key == name)
            found = place;
        ++place;
    }
};

template <typename Record>
constexpr std::size_t memberCount = [] {
    Search search;
    Record::describe(none<Record>, search);
    return search.place;
}();

template <typename T>
constexpr bool mayBeAbsent = false;
template <typename T>
constexpr bool mayBeAbsent<std::optional<T>> = true;
template <typename T>
constexpr bool mayBeAbsent<std::vector<T>> = true;

/// Fills a record from an object, or only checks the object. The last of several members with the
/// same key counts; unknown keys are ignored.
template <typename Record>
class Decoder {
  public:
    Decoder(simdjson::dom::object object, bool isStored, Decoding& decoding)
        : isStored(isStored), decoding(decoding) {
        for (auto member = object.begin(); member != object.end(); ++member) {
            Search search{member.key()};
            Record::describe(none<Record>, search);
            if (search.found) {
                values[*search.found] = member.value();
                isPresent[*search.found] = true;
            }
        }
    }

    template <typename T>
    void operator()(std::string_view key, T& field) {
        const auto at = place++;
        if (decoding.failed())
            return;
        if (isPresent[at] ? !decodeValue(values[at], isStored ? &field : nullptr, decoding)
                          : !missing(field))
            decoding.within(key);
    }

  private:
    template <typename T>
    bool missing(T& field) {
        if constexpr (mayBeAbsent<T>) {
            if (isStored)
                field = {};
            return true;
        } else {
            return decoding.because("is missing");
        }
    }

    std::array<Element, memberCount<Record>> values;
    std::array<bool, memberCount<Record>> isPresent{};
    std::size_t place = 0;
    bool isStored;
    Decoding& decoding;
};

template <Described Record>
bool decodeValue(Element value, Record* into, Decoding& decoding) {
    simdjson::dom::object object;
    if (value.get(object) != simdjson::SUCCESS)
        return decoding.because("should be an object");
    Decoder<Record> decoder(object, into != nullptr, decoding);
    Record::describe(into ? *into : none<Record>, decoder);
    return !decoding.failed();
}

template <typename T>
Later<T>::Later(const T& value) {
    const auto parsed = parseDocument(encode(value), 0);
    if (!parsed)
        programmingFault("a text that is not UTF-8 has no encoding");
    (*parsed)->kept = {(*parsed)->root};
    document = *parsed;
}

template <typename T>
T Later<T>::get() const {
    T value;
    Decoding decoding{nullptr};
    if (document)
        decodeValue(document->kept[place], &value, decoding);
    return value;
}

template <typename T>
template <typename Map>
std::optional<typename Map::mapped_type> Later<T>::find(std::string_view key) const {
    std::optional<typename Map::mapped_type> found;
    simdjson::dom::object object;
    if (!document || document->kept[place].get(object) != simdjson::SUCCESS)
        return found;
    for (const auto [name, member] : object) {
        Decoding decoding{nullptr};
        if (name == key && !decodeValue(member, &found.emplace(), decoding))
            found.reset(); // a later member replaces it
    }
    return found;
}

template <typename Record>
Result<Record, Error> decode(std::string_view text, std::size_t padding) {
    auto document = parseDocument(text, padding);
    if (!document)
        return tl::unexpected(std::move(document.error()));
    Decoding decoding{*std::move(document)};
    Result<Record, Error> record;
    const bool succeeded = decodeValue(decoding.document->root, &*record, decoding);
    if (const auto plain = decoding.isRounded ? withPlainIntegers(text) : std::nullopt)
        return decode<Record>(*plain, 0);
    if (!succeeded)
        return tl::unexpected(
            Error{(decoding.path.empty() ? "the whole" : decoding.path) + ' ' + decoding.what});
    return record;
}

} // namespace quoxelin::json
