#pragma once

#include "Base/JsonWriter.h"
#include "Base/Result.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

/// JSON as it comes from outside: strict about the text (UTF-8, escapes, numbers, nothing after the
/// value, nothing nested deeper than 512), and safe with whatever it is given.
///
/// Records state their members once, in `describe`, and `decode` and `encode` do the rest; what is
/// to be picked out of a text by hand is read through `Document` and `Value`.
namespace quoxelin::json {

/// Why a text is no JSON, or not the record it should be.
struct Error {
    /// For people and logs: "NetMap.Peers[3].Node.ID is missing".
    std::string description;

    bool operator==(const Error&) const = default;
};

class Elements;
struct Member;

/// A value of a document, which it must not outlive.
class Value {
  public:
    enum class Kind { null, boolean, number, string, array, object };

    Kind kind() const;
    bool isNull() const;
    bool isObject() const;
    bool isArray() const;

    /// What the value holds, absent when it is of another type: a number is no boolean, nor the
    /// other way round.
    std::optional<std::string_view> string() const;
    std::optional<bool> boolean() const;

    /// Any integral number that fits, however it is written: 4, 4.0, 4e0.
    std::optional<std::int64_t> integer() const;

    /// Any number, to the nearest that fits.
    std::optional<double> number() const;

    /// An array of nothing but strings.
    std::optional<std::vector<std::string>> strings() const;

    /// The elements of an array, in order; none of anything else.
    Elements elements() const;

    /// The members of an object in the document's order; none of anything else. Of members with
    /// the same key only the last one is there.
    std::vector<Member> members() const;

    /// An object's member; of several with the same key the last one.
    std::optional<Value> find(std::string_view key) const;

  private:
    friend class Document;
    friend class Elements;
    friend class MemberTable;

    // Where the library finds the value: Json.cpp alone knows how to read this.
    [[maybe_unused]] const void* document;
    [[maybe_unused]] std::size_t index;
};

struct Member {
    std::string_view key;
    Value value;
};

/// The elements of an array, for a range-based loop.
class Elements {
  public:
    class Iterator {
      public:
        explicit Iterator(Value value) : value(value) {}
        Value operator*() const { return value; }
        Iterator& operator++() {
            value = Elements::after(value);
            return *this;
        }
        bool operator==(const Iterator& other) const { return value.index == other.value.index; }

      private:
        friend class Elements;
        Value value;
    };

    Iterator begin() const { return Iterator(first); }
    Iterator end() const { return Iterator(last); }

    /// At least, for arrays beyond 16 million elements.
    std::size_t size() const { return count; }

  private:
    friend class Value;
    static Value after(Value value);

    Value first{}, last{};
    std::size_t count = 0;
};

/// A parsed text. It keeps nothing of the text it was parsed from.
class Document {
  public:
    static Result<Document, Error> parse(std::string_view text);

    Document(Document&&) noexcept;
    Document& operator=(Document&&) noexcept;
    ~Document();

    Value root() const;

  private:
    class Parser;
    explicit Document(std::unique_ptr<Parser> parser);
    std::unique_ptr<Parser> parser;
};

/// What went wrong below the place that is being decoded. The path is put together on the way out,
/// so that success costs nothing.
class Failure {
  public:
    /// Always false, for `return failure.because("should be a boolean")`.
    bool because(std::string_view what);

    /// Always false: the failure lies within this member, or this element.
    bool within(std::string_view key);
    bool within(std::size_t index);

    bool isEmpty() const { return what.empty(); }
    Error error() const;

  private:
    std::string path;
    std::string what;
};

/// The members of one object, to be asked by key. Not copied, because it points into itself.
class MemberTable {
  public:
    explicit MemberTable(Value object);
    MemberTable(const MemberTable&) = delete;
    MemberTable& operator=(const MemberTable&) = delete;

    /// The last member with that key; null when there is none.
    const Value* find(std::string_view key) const {
        for (std::size_t i = count; i-- > 0;) {
            if (members[i].key == key)
                return &members[i].value;
        }
        return nullptr;
    }

  private:
    static constexpr std::size_t usual = 16;
    std::array<Member, usual> few;
    std::vector<Member> many;
    const Member* members = few.data();
    std::size_t count = 0;
};

// How the types that a record consists of are read. Each returns false after having told the
// failure why. A type of another kind offers its own `decodeValue` and `encodeValue` next to it.

bool decodeValue(Value value, std::string& into, Failure& failure);
bool decodeValue(Value value, bool& into, Failure& failure);
bool decodeValue(Value value, std::int64_t& into, Failure& failure);

template <typename T>
bool decodeValue(Value value, std::optional<T>& into, Failure& failure);
template <typename T>
bool decodeValue(Value value, std::vector<T>& into, Failure& failure);
template <typename T>
bool decodeValue(Value value, std::map<std::string, T>& into, Failure& failure);

/// Fills a record from an object. A member is optional when its field is a `std::optional` (null
/// and absent are the same there) and required otherwise; keys that no field claims are ignored.
class Decoder {
  public:
    Decoder(Value object, Failure& failure) : members(object), failure(failure) {}

    template <typename T>
    void operator()(std::string_view key, T& field) {
        if (!failure.isEmpty())
            return;
        if (const Value* const value = members.find(key)) {
            if (!decodeValue(*value, field, failure))
                failure.within(key);
        } else {
            missing(key, field);
        }
    }

    /// A list that may be absent or null, which makes it empty.
    template <typename T>
    void orEmpty(std::string_view key, std::vector<T>& field) {
        std::optional<std::vector<T>> list;
        (*this)(key, list);
        field = std::move(list).value_or(std::vector<T>());
    }

  private:
    template <typename T>
    void missing(std::string_view, std::optional<T>& field) {
        field.reset();
    }
    template <typename T>
    void missing(std::string_view key, T&) {
        failure.because("is missing");
        failure.within(key);
    }

    MemberTable members;
    Failure& failure;
};

template <typename Record>
concept Described = requires(Record& record, Decoder& coder) {
    Record::describe(record, coder);
};

template <Described Record>
bool decodeValue(Value value, Record& into, Failure& failure) {
    if (!value.isObject())
        return failure.because("should be an object");
    Decoder decoder(value, failure);
    Record::describe(into, decoder);
    return failure.isEmpty();
}

template <typename T>
bool decodeValue(Value value, std::optional<T>& into, Failure& failure) {
    if (value.isNull()) {
        into.reset();
        return true;
    }
    return decodeValue(value, into.emplace(), failure);
}

template <typename T>
bool decodeValue(Value value, std::vector<T>& into, Failure& failure) {
    if (!value.isArray())
        return failure.because("should be an array");
    const auto elements = value.elements();
    into.clear();
    // Not more than a hostile text has to be trusted with before it shows what it holds.
    into.reserve(std::min<std::size_t>(elements.size(), 1 << 16));
    for (const auto element : elements) {
        if (!decodeValue(element, into.emplace_back(), failure))
            return failure.within(into.size() - 1);
    }
    return true;
}

template <typename T>
bool decodeValue(Value value, std::map<std::string, T>& into, Failure& failure) {
    if (!value.isObject())
        return failure.because("should be an object");
    into.clear();
    for (const auto& [key, member] : value.members()) {
        if (!decodeValue(member, into[std::string(key)], failure))
            return failure.within(key);
    }
    return true;
}

/// Reads a whole text as a record.
template <typename Record>
Result<Record, Error> decode(std::string_view text) {
    const auto document = Document::parse(text);
    if (!document)
        return tl::unexpected(document.error());
    Result<Record, Error> record;
    Failure failure;
    if (!decodeValue(document->root(), *record, failure))
        return tl::unexpected(failure.error());
    return record;
}

inline void encodeValue(const std::string& value, Writer& writer) {
    writer.string(value);
}
inline void encodeValue(bool value, Writer& writer) {
    writer.boolean(value);
}
inline void encodeValue(std::int64_t value, Writer& writer) {
    writer.integer(value);
}
template <typename T>
void encodeValue(const std::vector<T>& list, Writer& writer);
template <typename T>
void encodeValue(const std::map<std::string, T>& map, Writer& writer);

/// Writes a record's members under the keys that it is decoded from; absent ones are left out.
class Encoder {
  public:
    explicit Encoder(Writer& writer) : writer(writer) {}

    template <typename T>
    void operator()(std::string_view key, const T& field) {
        writer.key(key);
        encodeValue(field, writer);
    }
    template <typename T>
    void operator()(std::string_view key, const std::optional<T>& field) {
        if (field)
            (*this)(key, *field);
    }
    template <typename T>
    void orEmpty(std::string_view key, const std::vector<T>& field) {
        (*this)(key, field);
    }

  private:
    Writer& writer;
};

template <Described Record>
void encodeValue(const Record& record, Writer& writer) {
    writer.beginObject();
    Encoder encoder(writer);
    Record::describe(record, encoder);
    writer.endObject();
}

template <typename T>
void encodeValue(const std::vector<T>& list, Writer& writer) {
    writer.beginArray();
    for (const auto& element : list)
        encodeValue(element, writer);
    writer.endArray();
}

template <typename T>
void encodeValue(const std::map<std::string, T>& map, Writer& writer) {
    writer.beginObject();
    for (const auto& [key, value] : map) {
        writer.key(key);
        encodeValue(value, writer);
    }
    writer.endObject();
}

template <typename Record>
std::string encode(const Record& record) {
    Writer writer;
    encodeValue(record, writer);
    return writer.text();
}

} // namespace quoxelin::json
