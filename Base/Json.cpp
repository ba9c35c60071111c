#include "Base/Json.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <simdjson.h>
#include <type_traits>

namespace quoxelin::json {

namespace {

namespace dom = simdjson::dom;

constexpr std::size_t maximumDepth = 512;

/// A parser that has grown beyond this for one long text does not stay around.
constexpr std::size_t keptCapacity = std::size_t(1) << 20;

// A value is the library's element with its type hidden from those who include Json.h.
static_assert(sizeof(Value) == sizeof(dom::element));
static_assert(std::is_trivially_copyable_v<Value> && std::is_trivially_copyable_v<dom::element>);

/// As std::bit_cast, which the oldest standard library among our platforms lacks.
template <typename To, typename From>
To withBitsOf(const From& from) {
    static_assert(sizeof(To) == sizeof(From) && std::is_trivially_copyable_v<To> &&
                  std::is_trivially_copyable_v<From>);
    To to;
    std::memcpy(static_cast<void*>(&to), &from, sizeof to);
    return to;
}

dom::element elementOf(const Value& value) {
    return withBitsOf<dom::element>(value);
}

Value valueOf(const dom::element& element) {
    return withBitsOf<Value>(element);
}

template <typename T>
std::optional<T> ifSo(simdjson::simdjson_result<T> result) {
    T value;
    return std::move(result).get(value) == simdjson::SUCCESS ? std::optional<T>(value)
                                                             : std::nullopt;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::size_t endOfDigits(std::string_view text, std::size_t at) {
    while (at < text.size() && isDigit(text[at]))
        ++at;
    return at;
}

std::size_t endOfString(std::string_view text, std::size_t opening) {
    for (std::size_t at = opening + 1; at < text.size(); ++at) {
        if (text[at] == '\\')
            ++at;
        else if (text[at] == '"')
            return at + 1;
    }
    return text.size();
}

/// The end of what looks like a number and begins at `at`; whether it is one, the parser says.
std::size_t endOfNumber(std::string_view text, std::size_t at) {
    const auto isPart = [](char c) {
        return isDigit(c) || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E';
    };
    while (at < text.size() && isPart(text[at]))
        ++at;
    return at;
}

/// Follows the grammar of JSON's numbers to the last character.
bool isWellFormedNumber(std::string_view text) {
    std::size_t at = text.starts_with('-') ? 1 : 0;
    const auto integerEnd = endOfDigits(text, at);
    if (integerEnd == at || (text[at] == '0' && integerEnd > at + 1))
        return false;
    at = integerEnd;
    if (at < text.size() && text[at] == '.') {
        const auto fractionEnd = endOfDigits(text, at + 1);
        if (fractionEnd == at + 1)
            return false;
        at = fractionEnd;
    }
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
        ++at;
        if (at < text.size() && (text[at] == '+' || text[at] == '-'))
            ++at;
        const auto exponentEnd = endOfDigits(text, at);
        if (exponentEnd == at)
            return false;
        at = exponentEnd;
    }
    return at == text.size();
}

/// The library refuses a whole text for one number that none of its types can hold. Here each
/// such number becomes one that is merely out of every integer's range, so that it matters only to
/// who reads it. Absent when there is no such number.
std::optional<std::string> withHugeNumbersTamed(std::string_view text, dom::parser& parser) {
    constexpr std::size_t alwaysHeld = 18;
    std::string tamed;
    std::size_t copied = 0;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] == '"') {
            at = endOfString(text, at);
            continue;
        }
        if (text[at] != '-' && !isDigit(text[at])) {
            ++at;
            continue;
        }
        const auto end = endOfNumber(text, at);
        const auto token = text.substr(at, end - at);
        const bool mayBeHuge =
            token.size() > alwaysHeld || token.find_first_of("eE") != std::string_view::npos;
        if (mayBeHuge && isWellFormedNumber(token) &&
            parser.parse(token.data(), token.size()).error() != simdjson::SUCCESS) {
            tamed.append(text, copied, at - copied).append("1e300");
            copied = end;
        }
        at = end;
    }
    if (copied == 0)
        return std::nullopt;
    return tamed.append(text, copied);
}

} // namespace

class Document::Parser {
  public:
    Parser() { failed = parser.allocate(0, maximumDepth) != simdjson::SUCCESS; }

    std::optional<Error> parse(std::string_view text) {
        // A byte-order mark is no part of JSON; later versions of the library skip it.
        if (text.starts_with("\xEF\xBB\xBF"))
            return Error{"no JSON: it begins with a byte-order mark"};
        auto error = attempt(text);
        if (error != simdjson::SUCCESS) { // which error a huge number is depends on the version
            if (const auto tamed = withHugeNumbersTamed(text, parser))
                error = attempt(*tamed);
        }
        if (error != simdjson::SUCCESS)
            return Error{std::string("no JSON: ") + simdjson::error_message(error)};
        return std::nullopt;
    }

    Value root() const { return valueOf(element); }

    bool isSmall() const { return parser.capacity() <= keptCapacity; }

    /// Most texts are short: a thread uses one parser for them, one after the other.
    static std::unique_ptr<Parser>& spare() {
        thread_local std::unique_ptr<Parser> parser;
        return parser;
    }

  private:
    simdjson::error_code attempt(std::string_view text) {
        return failed ? simdjson::MEMALLOC : parser.parse(text.data(), text.size()).get(element);
    }

    dom::parser parser;
    dom::element element;
    bool failed = false;
};

Document::Document(std::unique_ptr<Parser> parser) : parser(std::move(parser)) {}

Document::Document(Document&&) noexcept = default;
Document& Document::operator=(Document&&) noexcept = default;

Document::~Document() {
    if (parser && parser->isSmall())
        Parser::spare() = std::move(parser);
}

Result<Document, Error> Document::parse(std::string_view text) {
    auto parser = std::move(Parser::spare());
    if (!parser)
        parser = std::make_unique<Parser>();
    auto error = parser->parse(text);
    Document document(std::move(parser));
    if (error)
        return tl::unexpected(*std::move(error));
    return document;
}

Value Document::root() const {
    return parser->root();
}

Value::Kind Value::kind() const {
    switch (elementOf(*this).type()) {
    case dom::element_type::ARRAY:
        return Kind::array;
    case dom::element_type::OBJECT:
        return Kind::object;
    case dom::element_type::INT64:
    case dom::element_type::UINT64:
    case dom::element_type::DOUBLE:
        return Kind::number;
    case dom::element_type::STRING:
        return Kind::string;
    case dom::element_type::BOOL:
        return Kind::boolean;
    case dom::element_type::NULL_VALUE:
        break;
    }
    return Kind::null;
}

bool Value::isNull() const {
    return elementOf(*this).is_null();
}

bool Value::isObject() const {
    return elementOf(*this).is_object();
}

bool Value::isArray() const {
    return elementOf(*this).is_array();
}

std::optional<std::string_view> Value::string() const {
    return ifSo(elementOf(*this).get_string());
}

std::optional<bool> Value::boolean() const {
    return ifSo(elementOf(*this).get_bool());
}

std::optional<std::int64_t> Value::integer() const {
    const auto element = elementOf(*this);
    if (element.type() != dom::element_type::DOUBLE)
        return ifSo(element.get_int64());
    constexpr double limit = 9223372036854775808.0; // 2^63, the first that does not fit
    const double number = element.get_double().value_unsafe();
    if (number < -limit || number >= limit || std::trunc(number) != number)
        return std::nullopt;
    return static_cast<std::int64_t>(number);
}

std::optional<double> Value::number() const {
    return ifSo(elementOf(*this).get_double());
}

std::optional<std::vector<std::string>> Value::strings() const {
    if (!isArray())
        return std::nullopt;
    std::vector<std::string> list;
    for (const auto element : elements()) {
        const auto text = element.string();
        if (!text)
            return std::nullopt;
        list.emplace_back(*text);
    }
    return list;
}

Elements Value::elements() const {
    Elements elements;
    dom::array array;
    if (elementOf(*this).get_array().get(array) == simdjson::SUCCESS) {
        elements.first = valueOf(*array.begin());
        elements.last = valueOf(*array.end());
        elements.count = array.size();
    }
    return elements;
}

Value Elements::after(Value value) {
    auto iterator = withBitsOf<dom::array::iterator>(value);
    ++iterator;
    return valueOf(*iterator);
}

std::vector<Member> Value::members() const {
    std::vector<Member> members;
    dom::object object;
    if (elementOf(*this).get_object().get(object) != simdjson::SUCCESS)
        return members;
    for (const auto field : object)
        members.push_back({field.key, valueOf(field.value)});
    // Sorted by key and place, a member is the last with its key when its neighbour has another.
    std::vector<std::size_t> order(members.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        const int compared = members[a].key.compare(members[b].key);
        return compared != 0 ? compared < 0 : a < b;
    });
    std::vector<bool> superseded(members.size(), false);
    for (std::size_t i = 1; i < order.size(); ++i)
        superseded[order[i - 1]] = members[order[i - 1]].key == members[order[i]].key;
    std::size_t place = 0;
    for (std::size_t i = 0; i < members.size(); ++i) {
        if (!superseded[i])
            members[place++] = members[i];
    }
    members.resize(place);
    return members;
}

std::optional<Value> Value::find(std::string_view key) const {
    std::optional<Value> found;
    dom::object object;
    if (elementOf(*this).get_object().get(object) == simdjson::SUCCESS) {
        for (const auto field : object) {
            if (field.key == key)
                found = valueOf(field.value);
        }
    }
    return found;
}

MemberTable::MemberTable(Value value) {
    dom::object object;
    if (elementOf(value).get_object().get(object) != simdjson::SUCCESS)
        return;
    for (const auto field : object) {
        const Member member{field.key, valueOf(field.value)};
        if (count < usual) {
            few[count] = member;
        } else {
            if (many.empty())
                many.assign(few.begin(), few.end());
            many.push_back(member);
        }
        ++count;
    }
    if (!many.empty())
        members = many.data();
}

bool Failure::because(std::string_view reason) {
    what = reason;
    return false;
}

bool Failure::within(std::string_view key) {
    const bool joins = !path.empty() && path.front() != '[';
    path.insert(0, joins ? std::string(key) + '.' : std::string(key));
    return false;
}

bool Failure::within(std::size_t index) {
    const bool joins = !path.empty() && path.front() != '[';
    path.insert(0, '[' + std::to_string(index) + (joins ? "]." : "]"));
    return false;
}

Error Failure::error() const {
    return {(path.empty() ? "the whole" : path) + ' ' + what};
}

bool decodeValue(Value value, std::string& into, Failure& failure) {
    const auto text = value.string();
    if (!text)
        return failure.because("should be a string");
    into.assign(*text);
    return true;
}

bool decodeValue(Value value, bool& into, Failure& failure) {
    const auto truth = value.boolean();
    if (!truth)
        return failure.because("should be a boolean");
    into = *truth;
    return true;
}

bool decodeValue(Value value, std::int64_t& into, Failure& failure) {
    const auto number = value.integer();
    if (!number)
        return failure.because("should be an integer of at most 64 bits");
    into = *number;
    return true;
}

} // namespace quoxelin::json
