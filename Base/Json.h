#pragma once

#include "Base/Result.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

/// JSON, strict about the text: UTF-8, escapes, numbers, nothing after the value, no nesting deeper
/// than 512.
///
/// A record lists its members once, in `describe`; `decode` and `encode` do the rest. To pick
/// values out of a text by hand, `parse` it into a tree.
namespace quoxelin::json {

/// Why a text is not JSON, or not the expected record.
struct Error {
    /// For logs: "NetMap.Peers[3].Node.ID is missing".
    std::string description;

    bool operator==(const Error&) const = default;
};

class Value;

/// A template because members and values contain each other.
template <typename T>
struct Keyed {
    std::string key;
    T value;

    bool operator==(const Keyed&) const = default;
};

using Member = Keyed<Value>;
using Array = std::vector<Value>;
/// Members in the order of the text. For duplicate keys, `parse` keeps the last.
using Object = std::vector<Member>;

/// A JSON value that owns all its parts.
class Value {
  public:
    Value(std::nullptr_t = nullptr) {}
    Value(bool value) : data(value) {}
    template <typename T>
    requires std::is_integral_v<T> Value(T value) : data(static_cast<std::int64_t>(value)) {}
    Value(double value) : data(value) {}
    Value(const char* value) : data(std::string(value)) {}
    Value(std::string_view value) : data(std::string(value)) {}
    Value(std::string value) : data(std::move(value)) {}
    Value(Array elements) : data(std::move(elements)) {}
    Value(Object members) : data(std::move(members)) {}

    bool isNull() const { return std::holds_alternative<std::nullptr_t>(data); }
    bool isArray() const { return std::holds_alternative<Array>(data); }
    bool isObject() const { return std::holds_alternative<Object>(data); }

    // Absent for a value of another type; numbers and booleans are not converted.

    std::optional<std::string_view> string() const { return held<std::string, std::string_view>(); }
    std::optional<bool> boolean() const { return held<bool, bool>(); }
    /// Any whole number in range, however it is written: 4, 4.0, 4e0.
    std::optional<std::int64_t> integer() const;
    std::optional<double> number() const;
    /// An array that holds only strings.
    std::optional<std::vector<std::string>> strings() const;

    /// Empty for a value of another type.
    const Array& elements() const;
    const Object& members() const;

    /// A member of an object, or null.
    const Value* find(std::string_view key) const;

    bool operator==(const Value&) const = default;

  private:
    friend class Writer;

    template <typename T, typename As>
    std::optional<As> held() const {
        const auto* const value = std::get_if<T>(&data);
        return value ? std::optional<As>(*value) : std::nullopt;
    }

    std::variant<std::nullptr_t, bool, std::int64_t, double, std::string, Array, Object> data;
};

/// Writes compact JSON value by value and adds the commas. Texts must be UTF-8.
class Writer {
  public:
    void beginObject() { open('{'); }
    void endObject() { close('}'); }
    void beginArray() { open('['); }
    void endArray() { close(']'); }
    void key(std::string_view key);
    void string(std::string_view value);
    void integer(std::int64_t value);
    void boolean(bool value);
    void value(const Value& value);

    const std::string& text() const { return output; }

  private:
    void separate();
    void open(char bracket);
    void close(char bracket) { output += bracket; }
    void quote(std::string_view text);

    std::string output;
};

Result<Value, Error> parse(std::string_view text);
std::string serialize(const Value& value);

/// Reads a whole text as a record. Few files include JsonDecoder.h because it is slow to compile: a
/// record's own source instantiates this.
///
/// `padding` is how many bytes after the text may be read; enough of them avoid a copy.
template <typename Record>
Result<Record, Error> decode(std::string_view text, std::size_t padding = 0);

struct Document;

/// A list or map that is checked with its record but stays in the parsed text, which all copies
/// share, until it is read.
template <typename T>
class Later {
  public:
    Later() = default;
    Later(std::shared_ptr<const Document> document, std::size_t place)
        : document(std::move(document)), place(place) {}

    /// Encodes the value, whose texts must be UTF-8.
    Later(const T& value);

    T get() const;

    /// One entry of a map.
    template <typename Map = T>
    std::optional<typename Map::mapped_type> find(std::string_view key) const;

    bool operator==(const Later& other) const { return get() == other.get(); }

  private:
    std::shared_ptr<const Document> document;
    std::size_t place = 0;
};

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
void encodeValue(const Later<T>& later, Writer& writer) {
    encodeValue(later.get(), writer);
}

/// Writes a record's members under the keys that decoding uses; absent members are left out.
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

  private:
    Writer& writer;
};

template <typename Record>
concept Described = requires(const Record& record, Encoder& coder) {
    Record::describe(record, coder);
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
