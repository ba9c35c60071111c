#include "Base/Json.h"

#include "Base/Immortal.h"
#include "Base/JsonDecoder.h"
#include "Base/JsonNumbers.h"

#include <cmath>
#include <fmt/format.h>
#include <mutex>

namespace quoxelin::json {

namespace {

namespace dom = simdjson::dom;

constexpr std::size_t maximumDepth = 512;

/// A document that has grown beyond this for a long text is dropped once enough short ones follow.
constexpr std::size_t keptCapacity = std::size_t(1) << 20;
constexpr int enoughShortTexts = 16;

template <typename T, typename Source>
std::optional<T> ifSo(Source source) {
    T value{};
    return source.get(value) == simdjson::SUCCESS ? std::optional<T>(value) : std::nullopt;
}

std::optional<std::int64_t> whole(double number) {
    constexpr double limit = 9223372036854775808.0; // 2^63, the first that does not fit
    if (number < -limit || number >= limit || std::trunc(number) != number)
        return std::nullopt;
    return static_cast<std::int64_t>(number);
}

Value treeOf(Element element);

Object membersOf(dom::object object) {
    const auto last = lastPlaces(object);
    Object members;
    std::size_t place = 0;
    for (const auto field : object) {
        if (last.at(field.key) == place++)
            members.push_back({std::string(field.key), treeOf(field.value)});
    }
    return members;
}

Value treeOf(Element element) {
    if (const auto object = ifSo<dom::object>(element))
        return membersOf(*object);
    const auto array = ifSo<dom::array>(element);
    if (!array)
        return withoutContents(element);
    Array elements;
    for (const auto inner : *array)
        elements.push_back(treeOf(inner));
    return elements;
}

/// Kept for the next text, to reuse its memory.
struct Spare {
    std::mutex mutex;
    std::unique_ptr<Document> document;
    int shortTexts = 0;
};

Spare& spare() {
    static Spare& instance = immortal([] { return Spare(); });
    return instance;
}

std::unique_ptr<Document> takeSpare(std::size_t size) {
    auto& [mutex, document, shortTexts] = spare();
    const std::lock_guard lock(mutex);
    const bool isShort = document && document->parser.capacity() > std::max(keptCapacity, 4 * size);
    shortTexts = isShort ? shortTexts + 1 : 0;
    if (!document || shortTexts == enoughShortTexts)
        document = std::make_unique<Document>();
    return std::move(document);
}

void keepSpare(std::unique_ptr<Document> last) {
    last->kept.clear();
    auto& kept = spare();
    const std::lock_guard lock(kept.mutex);
    std::swap(kept.document, last);
}

simdjson::error_code parseInto(Document& document, std::string_view text, std::size_t padding) {
    auto& parser = document.parser;
    if (parser.max_depth() != maximumDepth) {
        if (const auto error = parser.allocate(text.size(), maximumDepth))
            return error;
    }
    const bool isCopied = padding < simdjson::SIMDJSON_PADDING;
    return parser.parse(text.data(), text.size(), isCopied).get(document.root);
}

} // namespace

std::optional<std::int64_t> Value::integer() const {
    const auto* const number = std::get_if<double>(&data);
    return number ? whole(*number) : held<std::int64_t, std::int64_t>();
}

std::optional<double> Value::number() const {
    const auto* const number = std::get_if<std::int64_t>(&data);
    return number ? std::optional<double>(*number) : held<double, double>();
}

std::optional<std::vector<std::string>> Value::strings() const {
    if (!isArray())
        return std::nullopt;
    std::vector<std::string> list;
    for (const auto& element : elements()) {
        const auto text = element.string();
        if (!text)
            return std::nullopt;
        list.emplace_back(*text);
    }
    return list;
}

const Array& Value::elements() const {
    static const Array none;
    const auto* const elements = std::get_if<Array>(&data);
    return elements ? *elements : none;
}

const Object& Value::members() const {
    static const Object none;
    const auto* const members = std::get_if<Object>(&data);
    return members ? *members : none;
}

const Value* Value::find(std::string_view key) const {
    for (const auto& member : members()) {
        if (member.key == key)
            return &member.value;
    }
    return nullptr;
}

Result<Value, Error> parse(std::string_view text) {
    const auto plain = withPlainIntegers(text);
    return parseDocument(plain ? *plain : text, 0).map([](const auto& document) {
        return treeOf(document->root);
    });
}

std::string serialize(const Value& value) {
    Writer writer;
    writer.value(value);
    return writer.text();
}

Result<std::shared_ptr<Document>, Error> parseDocument(std::string_view text, std::size_t padding) {
    std::shared_ptr<Document> document(takeSpare(text.size()).release(), [](Document* last) {
        keepSpare(std::unique_ptr<Document>(last));
    });
    // A byte-order mark is not part of JSON; later versions of the library skip it.
    if (text.starts_with("\xEF\xBB\xBF"))
        return tl::unexpected(Error{"no JSON: it begins with a byte-order mark"});
    auto error = parseInto(*document, text, padding);
    if (error != simdjson::SUCCESS) { // which error a huge number is depends on the version
        if (const auto replaced = withHugeNumbersTamed(text, document->parser))
            error = parseInto(*document, *replaced, 0);
    }
    if (error != simdjson::SUCCESS)
        return tl::unexpected(Error{std::string("no JSON: ") + simdjson::error_message(error)});
    return document;
}

Value withoutContents(Element element) {
    if (const auto text = ifSo<std::string_view>(element))
        return *text;
    if (const auto truth = ifSo<bool>(element))
        return *truth;
    if (const auto number = ifSo<std::int64_t>(element))
        return *number;
    if (const auto number = ifSo<double>(element)) {
        // 4.0 and 4e0 are the same value as 4, also after they have been written again.
        if (const auto integer = whole(*number))
            return *integer;
        return *number;
    }
    if (element.is_array())
        return Array();
    return element.is_object() ? Value(Object()) : Value();
}

std::map<std::string_view, std::size_t> lastPlaces(dom::object object) {
    std::map<std::string_view, std::size_t> last;
    std::size_t place = 0;
    for (const auto field : object)
        last[field.key] = place++;
    return last;
}

bool Decoding::because(std::string_view reason) {
    what = reason;
    return false;
}

bool Decoding::within(std::string_view key) {
    const bool joins = !path.empty() && path.front() != '[';
    path.insert(0, joins ? std::string(key) + '.' : std::string(key));
    return false;
}

bool Decoding::within(std::size_t index) {
    const bool joins = !path.empty() && path.front() != '[';
    path.insert(0, '[' + std::to_string(index) + (joins ? "]." : "]"));
    return false;
}

void Writer::key(std::string_view key) {
    separate();
    quote(key);
    output += ':';
}

void Writer::string(std::string_view value) {
    separate();
    quote(value);
}

void Writer::integer(std::int64_t value) {
    separate();
    output += std::to_string(value);
}

void Writer::boolean(bool value) {
    separate();
    output += value ? "true" : "false";
}

void Writer::value(const Value& value) {
    if (const auto text = value.string()) {
        string(*text);
    } else if (value.isArray()) {
        beginArray();
        for (const auto& element : value.elements())
            this->value(element);
        endArray();
    } else if (value.isObject()) {
        beginObject();
        for (const auto& [name, member] : value.members()) {
            key(name);
            this->value(member);
        }
        endObject();
    } else if (const auto truth = value.boolean()) {
        boolean(*truth);
    } else if (const auto* const whole = std::get_if<std::int64_t>(&value.data)) {
        integer(*whole);
    } else {
        separate();
        const auto number = value.number();
        output += number ? fmt::format("{}", *number) : "null";
    }
}

void Writer::separate() {
    if (!output.empty() && output.back() != '{' && output.back() != '[' && output.back() != ':')
        output += ',';
}

void Writer::open(char bracket) {
    separate();
    output += bracket;
}

void Writer::quote(std::string_view value) {
    constexpr char hexadecimal[] = "0123456789abcdef";
    output += '"';
    for (const char c : value) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            output += '\\';
            output += c;
        } else if (byte < 0x20) {
            output += "\\u00";
            output += hexadecimal[byte >> 4];
            output += hexadecimal[byte & 0xF];
        } else {
            output += c;
        }
    }
    output += '"';
}

} // namespace quoxelin::json
