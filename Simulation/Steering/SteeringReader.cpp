#include "Simulation/Steering/SteeringReader.h"

#include <functional>

namespace quoxelin {

namespace {

constexpr std::size_t longest = std::size_t{1} << 30;

std::optional<std::size_t> countOf(const json::Value& value) {
    const auto number = value.integer();
    return number && *number >= 0 ? std::optional(static_cast<std::size_t>(*number)) : std::nullopt;
}

} // namespace

std::string textFromBytes(std::string_view bytes) {
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80) {
            text += static_cast<char>(0xC0 | byte >> 6);
            text += static_cast<char>(0x80 | (byte & 0x3F));
        } else {
            text += c;
        }
    }
    return text;
}

std::optional<std::string> bytesFromText(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto lead = static_cast<unsigned char>(text[i]);
        if (lead < 0x80) {
            bytes += text[i];
            continue;
        }
        if (lead > 0xC3 || ++i == text.size())
            return std::nullopt;
        bytes += static_cast<char>(lead << 6 | (static_cast<unsigned char>(text[i]) & 0x3F));
    }
    return bytes;
}

template <typename Read>
auto SteeringReader::typed(std::string_view name, const char* kind, Read read)
    -> decltype(read(std::declval<const json::Value&>())) {
    const auto* const found = value(name);
    if (found == nullptr)
        return std::nullopt;
    const auto result = read(*found);
    if (!result)
        fail('"' + std::string(name) + "\" must be " + kind);
    return result;
}

const json::Value* SteeringReader::value(std::string_view name) {
    taken.emplace(name);
    return command.find(name);
}

const json::Value* SteeringReader::object(std::string_view name) {
    const auto* const found = value(name);
    if (found == nullptr || found->isObject())
        return found;
    fail('"' + std::string(name) + "\" must be an object");
    return nullptr;
}

std::optional<std::string> SteeringReader::text(std::string_view name) {
    return typed(name, "a string", [](const json::Value& value) {
        const auto text = value.string();
        return text ? std::optional(std::string(*text)) : std::nullopt;
    });
}

std::string SteeringReader::requiredText(std::string_view name) {
    if (!has(name))
        miss(name);
    return text(name).value_or("");
}

std::optional<bool> SteeringReader::flag(std::string_view name) {
    return typed(name, "true or false", std::mem_fn(&json::Value::boolean));
}

std::optional<std::int64_t> SteeringReader::integer(std::string_view name) {
    return typed(name, "an integer", std::mem_fn(&json::Value::integer));
}

std::int64_t SteeringReader::requiredInteger(std::string_view name) {
    if (!has(name))
        miss(name);
    return integer(name).value_or(0);
}

std::optional<std::size_t> SteeringReader::count(std::string_view name) {
    return typed(name, "a whole number, 0 or more", countOf);
}

std::vector<std::size_t> SteeringReader::counts(std::string_view name) {
    const auto* const found = value(name);
    if (found == nullptr)
        return {};
    std::vector<std::size_t> numbers;
    bool good = found->isArray();
    for (const auto& element : found->elements()) {
        const auto number = countOf(element);
        good = good && number && (numbers.empty() || *number > numbers.back());
        numbers.push_back(number.value_or(0));
    }
    if (!good)
        fail('"' + std::string(name) + "\" must be a list of rising whole numbers");
    return numbers;
}

std::optional<Duration> SteeringReader::duration(std::string_view name) {
    constexpr double aDay = 86400;
    return typed(name, "a number of seconds from 0 to 86400", [](const json::Value& value) {
        const auto number = value.number();
        return number && *number >= 0 && *number <= aDay ? std::optional(seconds(*number))
                                                         : std::nullopt;
    });
}

std::optional<Error> SteeringReader::error(std::string_view name, const std::string& domain) {
    const auto* const found = object(name);
    if (found == nullptr)
        return std::nullopt;
    SteeringReader members(*found);
    Error error;
    error.domain = members.text("domain").value_or(domain);
    error.code = members.requiredInteger("code");
    error.localizedDescription = members.text("description").value_or("The operation failed.");
    if (const auto problem = members.problem())
        fail("in \"" + std::string(name) + "\": " + *problem);
    return error;
}

std::optional<std::string> SteeringReader::bytes() {
    const auto plain = text("text");
    const auto coded = text("bytes");
    const auto times = count("repeat").value_or(1);
    if (plain && coded)
        fail("\"text\" and \"bytes\" exclude each other");
    const auto once = coded ? bytesFromText(*coded) : plain;
    if (coded && !once)
        fail("\"bytes\" has a character beyond U+00FF");
    if (!once)
        return std::nullopt;
    if (!once->empty() && times > longest / once->size()) {
        fail("more than a gigabyte");
        return std::nullopt;
    }
    std::string all;
    all.reserve(once->size() * times);
    for (std::size_t i = 0; i < times; ++i)
        all += *once;
    return all;
}

std::string SteeringReader::requiredBytes() {
    const auto found = bytes();
    if (!found)
        fail("\"text\" or \"bytes\" is missing");
    return found.value_or("");
}

void SteeringReader::miss(std::string_view name) {
    fail('"' + std::string(name) + "\" is missing");
}

void SteeringReader::fail(std::string what) {
    if (!wrong)
        wrong = std::move(what);
}

std::optional<std::string> SteeringReader::problem() const {
    if (wrong)
        return wrong;
    for (const auto& member : command.members())
        if (taken.count(member.key) == 0)
            return '"' + std::string(member.key) + "\" is not understood here";
    return std::nullopt;
}

} // namespace quoxelin
